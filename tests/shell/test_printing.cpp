// Printing into a PDF file read back with pdftotext: page lines, tabs, long lines, page breaks,
// copies, line ends, the printer font. The About and Help windows: their texts, Print and closing.
#include "shell/about.h"
#include "shell/help.h"
#include "shell/printing.h"
#include "sim/settings.h"

#include <QAction>
#include <QFontInfo>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QTemporaryDir>
#include <QTest>

#include "tests/common/datatable.h"
#include "tests/common/windowtest.h"
#include "tests/shell/pdftext.h"

using namespace kelvane;

namespace {

std::vector<QStringList> print(const QString& text, int copies, const QString& title = QStringLiteral("t.asm"))
{
    QTemporaryDir dir;
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFileName(dir.filePath(QStringLiteral("out.pdf")));
    printer.setCopyCount(copies);
    EXPECT_TRUE(printtext(printer, printerfont(), title, text));
    EXPECT_EQ(printer.copyCount(), 1); // the copies are made here, never by the print system
    return test::pdfpages(printer.outputFileName());
}

QStringList page(const QStringList& lines, const QString& heading = QStringLiteral("Page 1          t.asm"))
{
    return QStringList{heading, QString(), QString()} + lines;
}

TEST(Printing, PagesAsTheyComeOut)
{
    const QString longline = QStringLiteral("0123456789").repeated(40);
    const struct {
        QString text;
        int copies;
        std::vector<QStringList> pages;
    } cases[] = {
        {"a\r\nb\r\n", 1, {page({"a", "b"})}}, {"a\nb\n", 1, {page({"a", "b"})}}, {"x\r\n", 0, {page({"x"})}},
        {"\tX\r\nABCDE\tC\r\n1234567\tD\r\n12345678\tE\r\n", 1,
         {page({"        X", "ABCDE   C", "1234567 D", "12345678        E"})}},
        {"", 1, {QStringList{"Page 1          t.asm"}}},
        {"a\r\nb", 1, {page({"a"})}}, // the tail without a line end is lost
        {printabletext(QStringLiteral("a\nb")), 1, {page({"a", "b"})}},
        {"x\r\n", 3, {page({"x"}), page({"x"}), page({"x"})}},
    };
    EXPECT_TRUE(QFontInfo(printerfont()).fixedPitch()); // "Courier New" is missing here
    EXPECT_EQ(printerfont().pointSize(), 10);
    for (const auto& c : cases)
        EXPECT_EQ(print(c.text, c.copies), c.pages) << c.text.toStdString();
    // A long line is cut, not wrapped: an A4 or Letter page less 20 mm holds 80 to 100 columns.
    const QStringList lines = print(longline + QStringLiteral("\r\nnext\r\n"), 1).at(0);
    ASSERT_EQ(lines.size(), 5);
    EXPECT_TRUE(longline.startsWith(lines[3]) && lines[3].size() > 70 && lines[3].size() < 100) << lines[3].size();
    EXPECT_EQ(lines[4], QStringLiteral("next"));
}

// Pages as long as the paper allows (the first page's length), each copy's numbered from 1.
TEST(Printing, PagesBreakAndRepeatTheirPageLine)
{
    QString text;
    QStringList all;
    for (int i = 1; i <= 150; ++i)
        text += (all << QStringLiteral("L%1").arg(i, 3, 10, QLatin1Char('0'))).back() + QStringLiteral("\r\n");
    for (const int copies : {1, 2}) {
        const std::vector<QStringList> pages = print(text, copies, QStringLiteral("big.lst"));
        ASSERT_GE(pages.size(), 3u * copies);
        const qsizetype n = pages[0].size() - 3;
        std::vector<QStringList> expected;
        for (int c = 0; c < copies; ++c)
            for (qsizetype i = 0; i < all.size(); i += n)
                expected.push_back(page(all.mid(i, n), QStringLiteral("Page %1          big.lst").arg(i / n + 1)));
        EXPECT_EQ(pages, expected);
    }
}

TEST(Help, ManualCoversThePanelEveryMenuAndTheAssemblerAndPrints)
{
    QPointer<HelpWindow> help = showhelp(nullptr);
    ASSERT_TRUE(help);
    EXPECT_EQ(help->windowTitle(), QStringLiteral("Help Topics"));
    EXPECT_TRUE(help->textbox()->isReadOnly());
    EXPECT_EQ(showhelp(nullptr), help.data());
    const QString text = help->textbox()->toPlainText();
    for (const QStringList& topic : test::datatable("shell/helptopics.txt"))
        EXPECT_TRUE(text.contains(topic[0])) << topic[0].toStdString();
    for (const QString& line : text.split(QLatin1Char('\n')))
        EXPECT_LE(line.size(), 78) << line.toStdString();
    QTemporaryDir dir;
    const QString pdf = dir.filePath(QStringLiteral("help.pdf"));
    setprintdialog([pdf](QWidget*, QPrinter& p) {
        p.setOutputFileName(pdf); // a PDF by its name
        return true;
    });
    QAction* item = help->findChild<QAction*>(QStringLiteral("menuprint"));
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->text(), QStringLiteral("&Print"));
    item->trigger();
    setprintdialog({});
    help->close();
    const std::vector<QStringList> pages = test::pdfpages(pdf);
    ASSERT_GE(pages.size(), 2u);
    EXPECT_EQ(pages[0].mid(0, 4), page({text.section(QLatin1Char('\n'), 0, 0)}, "Page 1          Help Topics"));
}

TEST(About, TextAndClosingWhenAnotherWindowIsActivated)
{
    QWidget other;
    other.setGeometry(10, 10, 200, 100);
    other.show();
    QPointer<AboutWindow> about = showabout(nullptr);
    ASSERT_TRUE(about);
    EXPECT_EQ(about->windowTitle(), QStringLiteral("About ") + QString::fromLatin1(programtitle));
    EXPECT_TRUE(about->textbox()->isReadOnly());
    // The disclaimer stands in six lines between the title and the site.
    const QStringList parts = about->textbox()->toPlainText().split(QStringLiteral("\n\n"));
    ASSERT_EQ(parts.size(), 3);
    EXPECT_TRUE(parts[0].startsWith(QStringLiteral("Kelvane v2.55"))) << parts[0].toStdString();
    EXPECT_EQ(parts[1].count(QLatin1Char('\n')), 5);
    EXPECT_TRUE(parts[2].trimmed().endsWith(QString::fromLatin1(websitename)));
    ASSERT_TRUE(QTest::qWaitForWindowActive(about.data(), 2000));
    EXPECT_EQ(showabout(nullptr), about.data()); // one window
    other.activateWindow();
    EXPECT_TRUE(QTest::qWaitFor([&] { return about.isNull(); }, 2000));
}

} // namespace
