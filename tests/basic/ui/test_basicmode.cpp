// The editor's BASIC mode: Format Text over recorded texts with either line end, every recorded
// program compiling alike before and after it, colouring, and auto case and auto format as the
// user types them.
#include "basic/basic.h"
#include "shell/sourceeditorlanguage.h"
#include "sim/settings.h"

#include <QJsonDocument>
#include <QJsonObject>

#include "tests/basic/ui/basicuitest.h"
#include "tests/common/tempfolder.h"

#include <fstream>
#include <vector>

using namespace kelvane;
using kelvane::test::Form12Test;

namespace {

struct FormatCase {
    std::string name, typed, formatted;
};

// tests/data/basicui/format.txt: "\t" and "\s" written out, lines joined by LF.
std::vector<FormatCase> formatcases()
{
    std::vector<FormatCase> cases;
    std::ifstream in(std::string(KELVANE_TEST_DATA) + "/basicui/format.txt");
    std::string line;
    std::string* into = nullptr;
    while (std::getline(in, line)) {
        if (line.rfind("#", 0) == 0)
            continue;
        if (line.rfind("@@ case ", 0) == 0) {
            cases.push_back({line.substr(8), {}, {}});
            into = &cases.back().typed;
            continue;
        }
        if (line == "@@ formatted") {
            into = &cases.back().formatted;
            continue;
        }
        for (size_t p; (p = line.find("\\t")) != std::string::npos;)
            line.replace(p, 2, "\t");
        for (size_t p; (p = line.find("\\s")) != std::string::npos;)
            line.replace(p, 2, " ");
        if (into != nullptr)
            *into += line + "\n";
    }
    return cases;
}

std::string crlf(std::string s)
{
    for (size_t p = 0; (p = s.find('\n', p)) != std::string::npos; p += 2)
        s.insert(p, 1, '\r');
    return s;
}

std::string formatted(const std::string& text)
{
    return formatblocktext(text, formatbasicline, basicblocks);
}

TEST(BasicMode, FormatTextAsRecordedWithEitherLineEnd)
{
    const std::vector<FormatCase> cases = formatcases();
    ASSERT_EQ(cases.size(), 3u);
    for (const FormatCase& c : cases) {
        EXPECT_EQ(formatted(c.typed), c.formatted) << c.name;
        EXPECT_EQ(formatted(crlf(c.typed)), crlf(c.formatted)) << c.name;
        EXPECT_EQ(formatted(c.formatted), c.formatted) << c.name << " (formatted again)";
    }
}

TEST(BasicMode, EveryRecordedProgramCompilesAlikeAfterFormatText)
{
    std::ifstream in(std::string(KELVANE_TEST_DATA) + "/basic/programs.jsonl");
    std::string line;
    int programs = 0;
    basic::BasicCompiler before, after;
    while (std::getline(in, line)) {
        const QJsonObject o = QJsonDocument::fromJson(QByteArray::fromStdString(line)).object();
        const std::string source = o.value("source").toString().toStdString();
        ASSERT_TRUE(before.compiletext(source)) << before.errortext;
        ASSERT_TRUE(after.compiletext(formatted(source))) << "seed " << o.value("seed").toInt() << ": "
                                                          << after.errortext;
        EXPECT_EQ(after.asmtext(), before.asmtext()) << "seed " << o.value("seed").toInt();
        ++programs;
    }
    EXPECT_EQ(programs, 300);
}

TEST(BasicMode, ColouringOfALine)
{
    KeywordSet keywords;
    for (const std::string& k : basic::basickeywords())
        keywords.add(k);
    // k keyword, s string, c comment, . plain.
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"Dim x As Integer ' It's", "kkk...kk.kkkkkkk.cccccc"},
        {"dim Dimx WHILE", ".............."},
        {"Print 1, \"If ' Then\" Lf", "kkkkk....sssssssssss.kk"},
        {"x = Peek(100) 'Then", "....kkkk......ccccc"},
        {"Print 1, \"open End", "kkkkk....sssssssss"},
        {"top: Goto top", ".....kkkk...."},
    };
    for (const auto& [line, expected] : cases) {
        std::vector<uint8_t> styles(line.size());
        stylebasicline(line, keywords, styles.data());
        std::string got;
        for (const uint8_t s : styles)
            got += ".kcs"[s];
        EXPECT_EQ(got, expected) << line;
    }
}

// Auto case and auto format as typed, with the "C " settings of each row.
TEST_F(Form12Test, TypingSetsKeywordCaseAndIndents)
{
    struct Case {
        const char* autoformat;
        const char* autocase;
        QString typed, text;
    };
    const std::vector<Case> cases = {
        {"-1", "-1", "dim x as integer\n", "Dim x As Integer\n"},
        {"-1", "-1", "print 1, \"dim as\" ' dim as\n", "Print 1, \"dim as\" ' dim as\n"},
        {"-1", "-1", "x = peek(10)\ndimension = 1 ", "x = Peek(10)\ndimension = 1 "},
        {"-1", "-1", "while b\nx  =  1\nif b then\nelse\nendif\nwend\nend",
         "While b\n\tx = 1\n\tIf b Then\n\tElse\n\tEndif\nWend\nend"},
        {"-1", "-1", "FOR i = 1 TO 3\n\n  next i\n", "For i = 1 To 3\n\nNext i\n"},
        {"0", "-1", "while b\nx  =  1\nwend\n", "While b\nx  =  1\nWend\n"},
        {"-1", "0", "while b\nWhile b\nx = 1\n", "while b\nWhile b\n\tx = 1\n\t"},
        {"0", "0", "dim x as integer\n", "dim x as integer\n"},
    };
    for (const Case& c : cases) {
        regwrite("C Auto Format Text Enabled", c.autoformat);
        regwrite("C Auto Case Control Enabled", c.autocase);
        w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        w = new Form12;
        w->show();
        kelvane::test::type(editor(), c.typed);
        EXPECT_EQ(text(), c.text) << c.typed.toStdString();
    }
    // A file keeps its spelling when opened, and Format Text changes no word.
    const QString file = "dim x as integer\r\n  While b\r\nx  =  1\r\nwend\r\nWend\r\n";
    named("lower.bas", file.toUtf8());
    EXPECT_EQ(text(), file);
    w->menuformat_Click();
    EXPECT_EQ(text(), "dim x as integer\r\nWhile b\r\n\tx = 1\r\n\twend\r\nWend\r\n");
    w->menuundo_Click();
    EXPECT_EQ(text(), file);
}

} // namespace
