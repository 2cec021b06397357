// The BASIC compiler against recorded expectations: literals, the lines of each statement form,
// every message with its line, the frame and the routines, and sources that are no BASIC at all.
#include "basic/basic.h"
#include "basic/translator.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

using namespace kelvane::basic;

namespace {

const std::string datadir = KELVANE_BASIC_DATA;

std::string readfile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

std::vector<std::string> datalines(const std::string& name)
{
    std::vector<std::string> lines;
    std::istringstream in(readfile(datadir + "/" + name));
    for (std::string line; std::getline(in, line);)
        if (!line.starts_with('#'))
            lines.push_back(line);
    return lines;
}

std::vector<std::string> split(const std::string& s, const std::string& sep)
{
    std::vector<std::string> parts;
    size_t from = 0;
    for (size_t at; (at = s.find(sep, from)) != std::string::npos; from = at + sep.size())
        parts.push_back(s.substr(from, at - from));
    parts.push_back(s.substr(from));
    return parts;
}

std::string join(const std::vector<std::string>& lines, const std::string& sep)
{
    std::string text;
    for (const auto& l : lines)
        text += (&l == &lines.front() ? "" : sep) + l;
    return text;
}

// The declarations every statement and error case follows (lines 1 to 9).
const std::vector<std::string> prelude = {"Dim x As Integer", "Dim s As Short",   "Dim b As Boolean",
                                          "Dim a(4) As Integer", "Dim t(3) As Short", "Dim i As Integer",
                                          "Dim c As Boolean", "Const k = 7",       "done:"};

} // namespace

TEST(BasicLanguage, Literals)
{
    Translator t;
    ASSERT_TRUE(t.translate("Const k = 300\nConst b = 1\nConst h = 2\nConst neg = -1\nConst x0 = 0"));
    const std::map<std::string, int32_t> types = {{"Integer", 1}, {"Short", 2}, {"Boolean", 3}, {"None", 0}};
    for (const auto& row : datalines("literals.txt")) {
        const auto f = split(row, "\t");
        std::string text = f[1];
        const bool ok = t.parseliteral(text, types.at(f[0]));
        EXPECT_EQ(ok ? text : "-", f[2]) << f[0] << " " << f[1];
        if (!ok) {
            EXPECT_EQ(text, f[1]) << "a refused literal is left as it was";
        }
    }
}

TEST(BasicLanguage, LinesAndTokens)
{
    const std::pair<std::string, size_t> sources[] = {
        {"", 1}, {"a", 1}, {"a\r\n", 1}, {"a\n", 1}, {"a\n\n", 2}, {"a\r\rb\r\n", 1}, {"\r\n\r\n", 2}};
    for (const auto& [source, count] : sources)
        EXPECT_EQ(splitsource(source).size() - 1, count) << source;
    const auto line = splitsource("\t x\t=  \"'a\tb\"  'c\t'd \t")[1];
    EXPECT_EQ(line.statement, "x =  \"'a b\"");
    EXPECT_EQ(line.comment, " 'c 'd");

    Tokens tokens;
    ASSERT_TRUE(cuttokens("a  b", tokens));
    EXPECT_EQ(tokens[1] + "|" + tokens[2] + "|" + tokens[3] + "|" + tokens[4], "a||b|");
    EXPECT_TRUE(cuttokens("1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20", tokens));
    EXPECT_EQ(tokens[20], "20");
    EXPECT_FALSE(cuttokens("1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21", tokens));
    for (const char* name : {"a", "_", "x_9", "zz"})
        EXPECT_TRUE(validname(name)) << name;
    for (const char* name : {"", "X", "9a", "a-b", "aB", "a("})
        EXPECT_FALSE(validname(name)) << name;
}

// Each case's lines, from its first comment line up to "; End of program".
TEST(BasicStatements, GeneratedLines)
{
    const auto lines = datalines("statements.txt");
    for (size_t n = 0; n < lines.size();) {
        const std::string title = lines[n++];
        std::vector<std::string> source = prelude, expected;
        while (lines[n] != "--")
            source.push_back(lines[n++]);
        for (++n; n < lines.size() && !lines[n].starts_with("== "); ++n)
            expected.push_back(lines[n]);
        BasicCompiler c;
        ASSERT_TRUE(c.compiletext(join(source, "\r\n") + "\r\n")) << title << ": " << c.errortext;
        const std::string text = c.asmtext();
        const size_t from = text.find("; 10: ");
        const size_t to = text.find("; End of program\r\n");
        EXPECT_EQ(text.substr(from, to - from), join(expected, "\r\n") + "\r\n") << title;
    }
}

// The same error whatever the line ends; no file is written and an older one stays.
TEST(BasicErrors, EveryMessageWithItsLine)
{
    const std::string older = testing::TempDir() + "older.asm";
    for (const auto& row : datalines("errors.txt")) {
        const auto f = split(row, "\t");
        auto lines = prelude;
        for (const auto& line : split(f[2], "\\n"))
            lines.push_back(join(split(line, "\\r"), "\r"));
        for (const std::string end : {"\r\n", "\n"}) {
            std::ofstream(older, std::ios::binary) << "old";
            for (bool finalend : {true, false}) {
                const std::string source = join(lines, end) + (finalend ? end : "");
                BasicCompiler c;
                EXPECT_EQ(c.compilebasic(source, older), "") << row;
                EXPECT_EQ(c.errortext, f[1]) << row;
                EXPECT_EQ(c.compileerrorline, std::stoi(f[0])) << row;
            }
            EXPECT_EQ(readfile(older), "old");
        }
    }
}

TEST(BasicOutput, FrameRoutinesAndFile)
{
    const std::string path = testing::TempDir() + "routines.asm";
    std::filesystem::remove(path);
    const std::string source = readfile(datadir + "/routines.bas");
    BasicCompiler c;
    for (int pass = 0; pass < 2; ++pass) { // a second compile starts from a clean state
        EXPECT_EQ(c.compilebasic(source, path), "The compilation process was successful.\r\nTotal 224 lines of "
                                                "assembler source generated.\r\nOutput saved as " + path);
        EXPECT_EQ(readfile(path), readfile(datadir + "/routines.asm"));
    }
    ASSERT_TRUE(c.compiletext("End"));
    EXPECT_EQ(c.asmtext(), "; Begin\r\n\tLXI H,0FF00H\r\n\tLXI SP,0FF00H\r\n; 1: End\r\n\tHLT\r\n"
                           "; End of program\r\n\tHLT\r\n; End of listing\r\n\t.END");
    EXPECT_EQ(c.asmlinecount(), 9);
    // A file that can't be written: nothing is replaced and no line is marked.
    EXPECT_EQ(c.compilebasic("End", testing::TempDir()), "");
    EXPECT_TRUE(c.writefailed);
    EXPECT_EQ(c.compileerrorline, 0);
}

TEST(BasicOutput, NamesAndKeywords)
{
    for (auto [name, expected] : {std::pair{"prog.bas", "prog.asm"}, {"a.b.c", "a.asm"}, {"prog", "prog.asm"},
                                  {".bas", ".asm"}})
        EXPECT_EQ(basicasmname(name), expected);
    EXPECT_EQ(basickeywords().size(), 39u);
    EXPECT_EQ(basickeywords().front() + basickeywords().back(), "DimResetBit");
}

// Sources that are no BASIC: a result, never a crash.
TEST(BasicOutput, AnyBytes)
{
    std::string nested;
    for (int n = 0; n < 100000; ++n)
        nested += "While True\n";
    std::string longline = "x = " + std::string(1 << 20, 'a');
    std::string nul("x = 1\0\1\2\n\0", 11);
    const std::pair<std::string, std::string> cases[] = {
        {nested, "Error in line 100001: Wend is missing."},
        {nested + join(std::vector<std::string>(100000, "Wend"), "\n"), ""},
        {longline, "Error in line 1: Incorrect argument."},
        {nul, "Error in line 1: Incorrect argument."},
    };
    for (const auto& [source, error] : cases) {
        BasicCompiler c;
        c.compiletext(source);
        EXPECT_EQ(c.errortext, error);
    }
}
