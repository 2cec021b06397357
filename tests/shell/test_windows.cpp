// About and Help: their captions and texts, and the About window closing when it loses activation.
#include "shell/about.h"
#include "shell/help.h"
#include "sim/settings.h"

#include <QApplication>
#include <QPlainTextEdit>
#include <QTest>

#include <gtest/gtest.h>

using namespace kelvane;

TEST(About, CaptionTitleVersionDisclaimerAndSite)
{
    AboutWindow w;
    EXPECT_EQ(w.windowTitle(), QStringLiteral("About ") + QString::fromLatin1(programtitle));
    const QString text = w.textbox()->toPlainText();
    EXPECT_TRUE(text.startsWith(QStringLiteral("Kelvane v2.55"))) << text.toStdString();
    EXPECT_TRUE(w.textbox()->isReadOnly());
    EXPECT_TRUE(text.contains(QStringLiteral("without warranty")));
    EXPECT_TRUE(text.trimmed().endsWith(QString::fromLatin1(websitename)));
    // The disclaimer stands in six lines between the title and the site.
    const QStringList parts = text.split(QStringLiteral("\n\n"));
    ASSERT_EQ(parts.size(), 3);
    EXPECT_EQ(parts[1].split(QLatin1Char('\n')).size(), 6);
}

TEST(About, ClosesWhenAnotherWindowIsActivated)
{
    QWidget other;
    other.setGeometry(10, 10, 200, 100);
    other.show();
    QPointer<AboutWindow> about = showabout(nullptr);
    ASSERT_TRUE(about);
    ASSERT_TRUE(QTest::qWaitForWindowActive(about.data(), 2000));
    // Shown twice, it is the same window.
    EXPECT_EQ(showabout(nullptr), about.data());
    other.activateWindow();
    EXPECT_TRUE(QTest::qWaitFor([&] { return about.isNull(); }, 2000));
}

TEST(Help, ManualCoversTheMenusAndTheAssembler)
{
    QPointer<HelpWindow> help = showhelp(nullptr);
    ASSERT_TRUE(help);
    EXPECT_EQ(help->windowTitle(), QStringLiteral("Help Topics"));
    EXPECT_TRUE(help->textbox()->isReadOnly());
    const QString text = help->textbox()->toPlainText();
    for (const char* part : {"FILE MENU", "SIMULATION MENU", "RATE MENU", "TOOLS MENU", "OPTIONS MENU",
                             "THE ASSEMBLER AND ITS LIMITS", "Load Program", "Ultimate", "32 characters"})
        EXPECT_TRUE(text.contains(QString::fromLatin1(part))) << part;
    for (const QString& line : text.split(QLatin1Char('\n')))
        EXPECT_LE(line.size(), 78) << line.toStdString();
    EXPECT_EQ(showhelp(nullptr), help.data());
    help->close();
}
