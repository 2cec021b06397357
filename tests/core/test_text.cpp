// Hex helpers, instruction texts and the statistics texts.
#include "machine_test.h"

#include "core/hexutil.h"
#include "core/instrtext.h"

#include <gtest/gtest.h>

#include <set>

using namespace kelvane;

TEST(HexHelpers, FormatAndParse)
{
    struct {
        int32_t v;
        const char *byte, *word, *asmbyte, *asmword;
    } cases[] = {
        {0, "00", "0000", "00", "0000"},       {10, "0A", "000A", "0A", "000A"},
        {18, "12", "0012", "12", "0012"},      {171, "AB", "00AB", "0AB", "00AB"},
        {256, "00", "0100", "00", "0100"},     {43981, "CD", "ABCD", "0CD", "0ABCD"},
        {-1, "FF", "FFFF", "0FF", "0FFFF"},    {65536, "00", "0000", "00", "0000"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.v);
        EXPECT_EQ(hexbyte(c.v), c.byte);
        EXPECT_EQ(hexword(c.v), c.word);
        EXPECT_EQ(asmhexbyte(c.v), c.asmbyte);
        EXPECT_EQ(asmhexword(c.v), c.asmword);
    }
    struct {
        const char* text;
        int32_t byte, word, bin;
    } parses[] = {
        {"ab", -1, -1, -1},          {"AB", 171, -1, -1},    {"12", 18, -1, -1},
        {"1234", -1, 4660, -1},      {"12G4", -1, -1, -1},   {"", -1, -1, -1},
        {"0000000000000001", -1, -1, 1}, {"1000000000000000", -1, -1, 32768},
        {"100000000000000", -1, -1, -1}, {"1000000000000002", -1, -1, -1},
    };
    for (const auto& p : parses) {
        SCOPED_TRACE(p.text);
        EXPECT_EQ(parsehexbyte(p.text), p.byte);
        EXPECT_EQ(parsehexword(p.text), p.word);
        EXPECT_EQ(parsebinword(p.text), p.bin);
    }
}

TEST(InstructionText, Examples)
{
    struct {
        int op, b1, b2;
        const char *next, *executed;
    } cases[] = {
        {0xC3, 0, 0xA0, "JMP 0A000H", "JMP 0A000H"},  {0xCC, 0, 0xA0, "CZ 0A000H", "CZ A000H"},
        {0xCC, 0x34, 0x12, "CZ 1234H", "CZ 1234H"},   {0x3E, 0xFF, 0, "MVI A,0FFH", "MVI A,0FFH"},
        {0x31, 0xF0, 0xFF, "LXI SP,0FFF0H", "LXI SP,0FFF0H"}, {0xD3, 0xFF, 0, "OUT 0FFH", "OUT 0FFH"},
        {0xDB, 0x10, 0, "IN 10H", "IN 10H"},          {0x3A, 0x00, 0xA0, "LDA 0A000H", "LDA 0A000H"},
        {0xE4, 1, 2, "CPO 0201H", "CPO 0201H"},       {0x20, 0, 0, "RIM", "RIM"},
        // a memory element that holds 256 shows through hexbyte: "00"
        {0x3E, 256, 0, "MVI A,00H", "MVI A,00H"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.next);
        EXPECT_EQ(instructiontext(c.op, c.b1, c.b2), c.next);
        EXPECT_EQ(executedtext(c.op, c.b1, c.b2), c.executed);
    }
}

TEST(InstructionText, EveryOpcodeHasOneText)
{
    std::set<int> undefined;
    std::set<std::string> seen;
    for (int op = 0; op < 256; ++op) {
        const std::string t = instructiontext(op, 0x34, 0x12);
        if (t == "UNRECOGNIZED")
            undefined.insert(op);
        else
            EXPECT_TRUE(seen.insert(t).second) << "duplicate text " << t;
    }
    EXPECT_EQ(undefined, (std::set<int>{0x08, 0x10, 0x18, 0x28, 0x38, 0xCB, 0xD9, 0xDD, 0xED, 0xFD}));
}

TEST(Statistics, CycleTimeAndMessage)
{
    struct {
        int32_t cycles;
        float mhz;
        const char* text;
    } cases[] = {
        {10, 4.0f, "2.50 \xC2\xB5s"},       {2, 4.0f, "0.50 \xC2\xB5s"},      {0, 4.0f, "0.00 \xC2\xB5s"},
        {1, 3.0f, "0.33 \xC2\xB5s"},        {5, 8.0f, "0.62 \xC2\xB5s"},      // 62.5 rounds to even
        {7, 8.0f, "0.88 \xC2\xB5s"},        // 87.5 rounds to even: 88
        {20000001, 3.0f, "6666667.00 \xC2\xB5s"}, // the large branch truncates
        {9999999, 3.0f, "3333333.00 \xC2\xB5s"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(cycletime(c.cycles, c.mhz), c.text) << c.cycles << " at " << c.mhz;
    EXPECT_EQ(clocktext(4.0f), "4");
    EXPECT_EQ(clocktext(2.5f), "2.5");
    EXPECT_EQ(clocktext(3.579545f), "3.579545");
    EXPECT_EQ(elapsedtext(3.0625f), "3.6"); // hundredths without zero fill
    EXPECT_EQ(elapsedtext(12.5f), "12.50");
    MachineState st;
    st.instructioncount = 4;
    st.cyclecount = 31;
    EXPECT_EQ(statisticsmessage(st, "0.1"), "Total number of executed instructions is 4.\r\n0.1 seconds elapsed.\r\n"
                                            "Real-time duration of the simulation is 31 clock cycles or 7.75 \xC2\xB5s "
                                            "at 4 MHz.");
}
