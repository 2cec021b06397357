#include "asmtesthelp.h"

#include <gtest/gtest.h>

namespace {

using asmtest::outcome;

struct PassCase {
    const char* source;
    std::vector<std::string> outcomes; // per line: code, or "E:" and the message
    std::vector<int32_t> addresses;    // per line, empty to skip
};

TEST(Passes, LabelsForwardReferencesAndEqu)
{
    const std::string dup = "E:Duplicate label.";
    const std::string unrec = "E:Unrecognized instruction.";
    const std::string badarg = "E:Invalid argument of the instruction.";
    const PassCase cases[] = {
        {"\tJMP LP\nLP:\tNOP", {"C3 03 00", "00"}, {0, 3}},
        // A label alone on its line takes the address of what follows.
        {"LP:\n\n\tJMP LP", {"", "", "C3 00 00"}, {0, 0, 0}},
        // A label on an .ORG line gets the address from before the .ORG.
        {"\tNOP\nLP:\t.ORG 10H\n\tJMP LP\n\tJMP $", {"00", "", "C3 01 00", "C3 13 00"}, {0, 1, 0x10, 0x13}},
        // Two labels can't share a line: the second word is the mnemonic.
        {"A: B: NOP", {unrec}, {}},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZ012345:\tNOP", {"00"}, {}},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456\tNOP", {"E:Labels can't be longer than 32 characters."}, {}},
        {"lab:\tNOP\nLAB\tNOP\n\tJMP Lab", {"00", dup, "C3 00 00"}, {0, 1, 1}},
        // A first definition on a failing line still makes the next one a duplicate.
        {"X:\tFOO\nX:\tNOP\n\tJMP X", {unrec, dup, "C3 00 00"}, {0, 0, 0}},
        {"_x:\tNOP\n\tJMP _X", {"00", "C3 00 00"}, {}},
        {"X,Y:\tNOP\n\tJMP X,Y", {"00", unrec}, {}},
        // The EQU rule: an indented label may stand only before EQU.
        {"   TEN EQU 10\n\tMVI A,TEN", {"", "3E 0A"}, {}},
        {"\tTEN: NOP", {unrec}, {}},
        {"   TEN .EQU 10\n\tMVI A,TEN", {"", "3E 0A"}, {}},
        {"  .EQU 5", {"E:Label missing."}, {}},
        {"  EQU 5", {unrec}, {}},
        {"X EQU NOWHERE", {"E:Invalid argument of the .EQU directive."}, {}},
        {"X EQU", {unrec}, {}},
        {"X EQU A", {unrec}, {}},
        // An EQU that rests on a later label: complete only from its own line on.
        {"\tMVI A,X\nX EQU Y\n\tMVI A,X\n\t.ORG X\nY EQU 7\n\tMVI A,X",
         {badarg, "", "3E 07", "E:Invalid argument of the .ORG directive.", "", "3E 07"}, {0, 2, 2, 4, 4, 4}},
        {"X EQU $+2\n\t.ORG X\n\tNOP", {"", "", "00"}, {0, 0, 2}},
        {"X EQU -Y\nY EQU 5\n\tMVI A,X", {"", "", "3E FB"}, {}},
        // Pass-1 errors give up the line's space, pass-2 errors keep it.
        {"\tMVI A,B,C\n\tNOP", {badarg, "00"}, {0, 2}},
        {"\tMOV A,B,C\n\tNOP", {unrec, "00"}, {0, 0}},
        {"\tMVI A,300\n\tNOP", {badarg, "00"}, {0, 2}},
        {"\t.DB 0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16\nLP:\tJMP LP",
         {"E:Invalid argument of the .DB directive.", "C3 00 00"}, {0, 0}},
        // Code can't go past FFFF: the line is refused and takes no space.
        {"\t.ORG 0FFFDH\n\tJMP 0\n\tNOP", {"", "C3 00 00", "E:Code can't go past address FFFF."}, {0, 0xFFFD, 0x10000}},
        {"\t.ORG 0FFFFH\n\tNOP\nLP:\tLXI H,LP", {"", "00", "E:Code can't go past address FFFF."}, {0, 0xFFFF, 0x10000}},
        {"\t.ORG 0FFFEH\n\t.DB 1,2,3\n\t.DW 1", {"", "E:Code can't go past address FFFF.", "01 00"}, {0, 0xFFFE, 0xFFFE}},
        {"\t.ORG 0FFFFH\n\tNOP\nLP:\n\tJMP LP", {"", "00", "", "E:Code can't go past address FFFF."}, {}},
        // Comments, tabs and case.
        {"; only a comment\n\tnop ; trailing\n\tmvi a,'a'", {"", "00", "3E 61"}, {}},
        {"\tMVI A,';'", {badarg}, {}},
    };
    for (const auto& c : cases) {
        kelvane::Assembler a;
        a.assembletext(c.source, 1000);
        ASSERT_EQ(a.linecount, static_cast<int32_t>(c.outcomes.size())) << c.source;
        for (size_t i = 0; i < c.outcomes.size(); ++i)
            EXPECT_EQ(outcome(a, static_cast<int>(i + 1)), c.outcomes[i]) << "source: [" << c.source << "] line " << i + 1;
        for (size_t i = 0; i < c.addresses.size(); ++i)
            EXPECT_EQ(a.asmaddress[i + 1], c.addresses[i]) << "source: [" << c.source << "] line " << i + 1;
    }
}

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
