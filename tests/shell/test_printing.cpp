// Printing into a PDF file, read back with pdftotext and pdfinfo: the page line and its two empty
// lines, tabs to eight columns, long lines cut, page breaks, copies, an empty text, the lost tail
// of a text without a final line end; the printer font; the Help window's Print.
#include "shell/help.h"
#include "shell/printing.h"

#include <QAction>
#include <QFontInfo>
#include <QPrinter>
#include <QTemporaryDir>

#include "tests/shell/pdftext.h"

#include <gtest/gtest.h>

using namespace kelvane;
using kelvane::test::pdfpagecount;
using kelvane::test::pdfpages;

// Pages in the failure messages.
inline void PrintTo(const QStringList& l, std::ostream* os)
{
    *os << '[' << l.join(QStringLiteral("|")).toStdString() << ']';
}

namespace {

struct Printed {
    std::vector<QStringList> pages;
    int pagecount;
    int printercopies;
};

Printed print(const QString& title, const QString& text, int copies)
{
    QTemporaryDir dir;
    const QString pdf = dir.filePath(QStringLiteral("out.pdf"));
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(pdf);
    printer.setCopyCount(copies);
    EXPECT_TRUE(printtext(printer, printerfont(), title, text));
    return {pdfpages(pdf), pdfpagecount(pdf), printer.copyCount()};
}

QStringList page(const QString& heading, const QStringList& lines)
{
    return QStringList{heading, QString(), QString()} + lines;
}

TEST(Printing, PagesAsTheyComeOut)
{
    struct Case {
        const char* what;
        QString text;
        int copies;
        std::vector<QStringList> pages;
    };
    const QString h = QStringLiteral("Page 1          t.asm");
    const std::vector<Case> cases = {
        {"lines", "a\r\nb\r\n", 1, {page(h, {"a", "b"})}},
        {"tabs", "\tX\r\nAB\tC\r\n1234567\tD\r\n12345678\tE\r\n", 1,
         {page(h, {"        X", "AB      C", "1234567 D", "12345678        E"})}},
        {"empty text", "", 1, {QStringList{h}}},
        {"no final line end", "a\r\nb", 1, {page(h, {"a"})}},
        {"every line ended", printabletext(QStringLiteral("a\nb")), 1, {page(h, {"a", "b"})}},
        {"LF line ends", "a\nb\n", 1, {page(h, {"a", "b"})}},
        {"copies 0", "x\r\n", 0, {page(h, {"x"})}},
        {"copies 3", "x\r\n", 3, {page(h, {"x"}), page(h, {"x"}), page(h, {"x"})}},
    };
    EXPECT_TRUE(QFontInfo(printerfont()).fixedPitch()); // "Courier New" is missing here
    EXPECT_EQ(printerfont().pointSize(), 10);
    for (const Case& c : cases) {
        const Printed p = print(QStringLiteral("t.asm"), c.text, c.copies);
        EXPECT_EQ(p.pages, c.pages) << c.what;
        EXPECT_EQ(p.pagecount, static_cast<int>(c.pages.size())) << c.what;
        EXPECT_EQ(p.printercopies, 1) << c.what; // the copies are made here, never by the print system
    }
}

TEST(Printing, ALongLineIsCutNotWrapped)
{
    const QString longline = QString(QStringLiteral("0123456789")).repeated(40);
    const QStringList lines = print(QStringLiteral("t"), longline + QStringLiteral("\r\nnext\r\n"), 1).pages.at(0);
    ASSERT_EQ(lines.size(), 5);
    EXPECT_TRUE(longline.startsWith(lines[3]));
    // An A4 or Letter page less 20 mm holds 80 to 100 columns of 10-point fixed-pitch text.
    EXPECT_TRUE(lines[3].size() > 70 && lines[3].size() < 100) << lines[3].size();
    EXPECT_EQ(lines[4], QStringLiteral("next"));
}

TEST(Printing, PagesBreakAndRepeatTheirPageLine)
{
    QString text;
    QStringList all;
    for (int i = 1; i <= 150; ++i) {
        all << QStringLiteral("L%1").arg(i, 3, 10, QLatin1Char('0'));
        text += all.back() + QStringLiteral("\r\n");
    }
    for (const int copies : {1, 2}) {
        const Printed p = print(QStringLiteral("big.lst"), text, copies);
        ASSERT_GE(p.pages.size(), 3u * copies);
        EXPECT_EQ(p.pagecount, static_cast<int>(p.pages.size()));
        QStringList seen;
        int number = 0;
        for (const QStringList& pg : p.pages) {
            number = pg[0] == QStringLiteral("Page 1          big.lst") ? 1 : number + 1;
            EXPECT_EQ(pg[0], QStringLiteral("Page %1          big.lst").arg(number));
            EXPECT_EQ(pg.mid(1, 2), (QStringList{QString(), QString()}));
            seen += pg.mid(3);
            // Every page but the last of a copy is full: as many lines as the first.
            if (pg.mid(3).last() != QStringLiteral("L150"))
                EXPECT_EQ(pg.size(), p.pages[0].size());
        }
        QStringList expected;
        for (int c = 0; c < copies; ++c)
            expected += all;
        EXPECT_EQ(seen, expected);
    }
}

TEST(Printing, HelpTopicsPrintsTheManual)
{
    QTemporaryDir dir;
    const QString pdf = dir.filePath(QStringLiteral("help.pdf"));
    setprintdialog([pdf](QWidget*, QPrinter& p) {
        p.setOutputFormat(QPrinter::PdfFormat);
        p.setOutputFileName(pdf);
        return true;
    });
    auto* help = new HelpWindow;
    QAction* item = help->findChild<QAction*>(QStringLiteral("menuprint"));
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->text(), QStringLiteral("&Print"));
    item->trigger();
    setprintdialog({});
    delete help;
    const std::vector<QStringList> pages = pdfpages(pdf);
    ASSERT_GE(pages.size(), 2u);
    EXPECT_EQ(pages[0][0], QStringLiteral("Page 1          Help Topics"));
    EXPECT_EQ(pages[0][3], helptext().section(QLatin1Char('\n'), 0, 0));
}

} // namespace
