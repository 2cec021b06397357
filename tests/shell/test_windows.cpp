// About and Help: their captions and texts, and the About window closing when it loses activation.
#include "shell/about.h"
#include "shell/help.h"
#include "sim/settings.h"

#include <QApplication>
#include <QPlainTextEdit>
#include <QTest>

#include <gtest/gtest.h>

using namespace kelvane;

TEST(About, TextAndClosingWhenAnotherWindowIsActivated)
{
    QWidget other;
    other.setGeometry(10, 10, 200, 100);
    other.show();
    QPointer<AboutWindow> about = showabout(nullptr);
    ASSERT_TRUE(about);
    EXPECT_EQ(about->windowTitle(), QStringLiteral("About ") + QString::fromLatin1(programtitle));
    const QString text = about->textbox()->toPlainText();
    EXPECT_TRUE(text.startsWith(QStringLiteral("Kelvane v2.55"))) << text.toStdString();
    EXPECT_TRUE(about->textbox()->isReadOnly());
    // The disclaimer stands in six lines between the title and the site.
    const QStringList parts = text.split(QStringLiteral("\n\n"));
    ASSERT_EQ(parts.size(), 3);
    EXPECT_EQ(parts[1].split(QLatin1Char('\n')).size(), 6);
    EXPECT_TRUE(parts[2].trimmed().endsWith(QString::fromLatin1(websitename)));
    ASSERT_TRUE(QTest::qWaitForWindowActive(about.data(), 2000));
    EXPECT_EQ(showabout(nullptr), about.data()); // one window
    other.activateWindow();
    EXPECT_TRUE(QTest::qWaitFor([&] { return about.isNull(); }, 2000));
}

TEST(Help, ManualCoversThePanelEveryMenuAndTheAssembler)
{
    QPointer<HelpWindow> help = showhelp(nullptr);
    ASSERT_TRUE(help);
    EXPECT_EQ(help->windowTitle(), QStringLiteral("Help Topics"));
    EXPECT_TRUE(help->textbox()->isReadOnly());
    const QString text = help->textbox()->toPlainText();
    // Every main menu, each window of Tools, the items of Options and Help that open windows,
    // and the entry of a register by a click while stepping.
    for (const char* part :
         {"FILE MENU", "SIMULATION MENU", "RATE MENU", "TOOLS MENU", "OPTIONS MENU", "HELP MENU", "THE FRONT PANEL",
          "THE ASSEMBLER AND ITS LIMITS", "Memory Editor (Ctrl+M)", "Disassembler (Ctrl+D)",
          "Peripheral Devices (Ctrl+P)", "I/O Ports Editor (Ctrl+I)", "External Modules (Ctrl+X)",
          "Assembler (Ctrl+A)", "Breakpoints Manager (Ctrl+B)", "BASIC Compiler (Ctrl+R)",
          "Simulation Log Viewer (Ctrl+V)", "Interactive Assembler Editor (Ctrl+E)", "Editor Setup",
          "Change Color Theme", "Check For Updates", "About Kelvane", "Step By Step rate, click a register"})
        EXPECT_TRUE(text.contains(QString::fromLatin1(part))) << part;
    for (const QString& line : text.split(QLatin1Char('\n')))
        EXPECT_LE(line.size(), 78) << line.toStdString();
    EXPECT_EQ(showhelp(nullptr), help.data());
    help->close();
}
