// Line state after normalising, source lines and stripping, and the progress texts.
#include "assembler/assembler.h"

#include <gtest/gtest.h>

namespace {

TEST(Passes, LineStateAfterNormalising)
{
    kelvane::Assembler a;
    a.assembletext("START:\tmvi  a , 'x'\nN EQU 5\n\t.db  1 , \"ab\"\n\tRST 3\n", 1000);
    EXPECT_EQ(a.asmtemplate[1], "MVI A,*");
    EXPECT_EQ(a.asmoperand1[1], "'x'");
    EXPECT_EQ(a.asmtemplate[2], "EQU *");
    EXPECT_EQ(a.asmoperand2[2], "N");
    EXPECT_EQ(a.asmtemplate[3], ".DB *");
    EXPECT_EQ(a.asmoperand1[3], "1,'a','b'");
    EXPECT_EQ(a.asmtemplate[4], "RST 3");
    EXPECT_EQ(a.asmoperand1[4], "");
    ASSERT_EQ(a.labelcount, 2);
    EXPECT_EQ(a.labelname[1], "START");
    EXPECT_EQ(a.labelline[2], 2);
    EXPECT_EQ(a.labelvalue[2], 5);
}

TEST(Passes, SourceLinesAndStripping)
{
    using kelvane::splitsourcelines;
    using V = std::vector<std::string>;
    EXPECT_EQ(splitsourcelines(""), V{});
    EXPECT_EQ(splitsourcelines("\n"), V{""});
    EXPECT_EQ(splitsourcelines("a\r\nb\r\n"), (V{"a", "b"}));
    EXPECT_EQ(splitsourcelines("a\nb"), (V{"a", "b"}));
    EXPECT_EQ(splitsourcelines("a\rb\r"), V{"a\rb\r"});
    EXPECT_EQ(splitsourcelines("a\r\r\n\n"), (V{"a\r", ""}));
    EXPECT_EQ(splitsourcelines(std::string("a\0b\n", 4)), V{std::string("a\0b", 3)});

    EXPECT_EQ(kelvane::stripline("\tMVI\tA,5   ; c;d"), " MVI A,5");
    EXPECT_EQ(kelvane::stripline("  \t "), "");
    EXPECT_EQ(kelvane::stripline("'a;b'"), "'a");
}

TEST(Passes, ProgressTexts)
{
    kelvane::Assembler a;
    std::vector<std::string> seen;
    a.progress = [&seen](const std::string& phase, const std::string& line) { seen.push_back(phase + "|" + line); };
    a.assembletext("\tNOP\n\tNOP\n", 0);
    const std::vector<std::string> expected = {
        "Loading source file.|", "Performing pass 1.|Line  1", "Performing pass 1.|Line  2",
        "Performing pass 2.|Line  1", "Performing pass 2.|Line  2", "Writing LST file.|", "Writing OBJ file.|",
    };
    EXPECT_EQ(seen, expected);
    seen.clear();
    a.assembletext("\tNOP\n", 1000);
    EXPECT_TRUE(seen.empty());
}

} // namespace
