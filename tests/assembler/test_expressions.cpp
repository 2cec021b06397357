// Number literals and one-operator expressions with labels and $.
#include "assembler/assembler.h"

#include <gtest/gtest.h>

using kelvane::novalue;
using kelvane::parsenumber;

namespace {

struct NumberCase {
    const char* text;
    int32_t value;
};

TEST(ParseNumber, LiteralForms)
{
    const NumberCase cases[] = {
        {"1234", 1234}, {"00012", 12}, {"0", 0}, {"65535", 65535}, {"65536", novalue},
        {"0FFH", 255}, {"1234h", 0x1234}, {"0ffh", 255}, {"0H", 0}, {"0000FFFFH", 65535},
        {"10000H", novalue}, {"FFH", novalue}, {"H", novalue}, {"12G4H", novalue},
        {"1010B", 10}, {"0B", 0}, {"1111111111111111B", 65535}, {"11111111111111111B", novalue},
        {"12B", novalue}, {"B", novalue}, {"0BH", 11},
        {"'A'", 65}, {"'a'", 97}, {"\"A\"", 65}, {"'''", 39}, {"' '", 32}, {"'AB'", novalue},
        {"'A\"", novalue},
        // A signed character literal reads its own opening quote mark.
        {"-'A'", -39}, {"+'A'", 39}, {"-\"A\"", -34},
        {"-5", -5}, {"+5", 5}, {"--5", 5}, {"-+5", novalue}, {"-0FFH", -255}, {"-1010B", -10},
        // Decimal text must survive the round trip through a floating-point number.
        {"12.5", 12}, {"1.5", 2}, {"2.5", 2}, {"3.5", 4}, {"0.5", 0}, {".5", 0}, {"65535.4", 65535},
        {"65535.5", novalue}, {"1E3", novalue}, {"7X", novalue}, {"1.", novalue}, {"1.50", novalue},
        {"", novalue}, {"-", novalue}, {" 5", novalue}, {"5 ", novalue}, {"$", novalue},
    };
    for (const auto& c : cases)
        EXPECT_EQ(parsenumber(c.text), c.value) << "text: [" << c.text << "]";
}

class Expressions : public ::testing::Test {
protected:
    void SetUp() override
    {
        // LAB = 100H, FFH = 7 (a label that looks like a number), B = 200H (a register-like
        // label), FWD never gets a value.
        a.assembletext("LAB EQU 100H\nFFH EQU 7\nB EQU 200H\nFWD EQU NOWHERE\n", 1000);
        a.locationcounter = 0x50;
    }
    kelvane::Assembler a;
};

TEST_F(Expressions, OneOperatorCutAtTheFirstMatch)
{
    const NumberCase cases[] = {
        {"LAB", 0x100}, {"lab", 0x100}, {"+LAB", 0x100}, {"-LAB", -0x100}, {"FFH", 7}, {"B", 0x200},
        {"LAB+1", 0x101}, {"LAB-1", 0xFF}, {"LAB*2", 0x200}, {"LAB/3", 85}, {"LAB + 1", 0x101},
        {"$", 0x50}, {"$+3", 0x53}, {"$-2", 0x4E}, {"$ + 3", 0x53}, {"3+$", novalue}, {"$+$", novalue},
        {"100/3", 33}, {"7/2", 4}, {"5/2", 2}, {"-7/2", -4}, {"5/0", novalue},
        {"'A'+1", 66}, {"'+'", 43}, {"'+'+1", novalue}, {"'-'", 45},
        {"A+B+C", novalue}, {"1+2+3", novalue}, {"2*3+1", novalue}, {"2+3*4", novalue},
        {"-5-3", novalue}, {"5--3", 8}, {"5+-3", 2}, {"-LAB+1", novalue}, {"LAB+-1", 0xFF},
        {"5 + 3", 8}, {"5 3", novalue}, {"+", novalue}, {"5+", novalue}, {"", novalue},
        // 100000 can't be told from "no value"; a bigger product passes on as a number.
        {"1000*100", novalue}, {"1000*101", 101000}, {"-1000*100", -100000},
        {"FWD", novalue}, {"-FWD", -novalue}, {"FWD+1", novalue}, {"NOWHERE", novalue},
        {"0FFFFH*0FFFFH", -131071}, // 32-bit product without overflow test
    };
    for (const auto& c : cases)
        EXPECT_EQ(a.evalexpression(c.text), c.value) << "text: [" << c.text << "]";
}

TEST_F(Expressions, LabelLookup)
{
    EXPECT_EQ(a.findlabel("lab"), 1);
    EXPECT_EQ(a.findlabel("FFH"), 2);
    EXPECT_EQ(a.findsignedlabel("-b"), 3);
    EXPECT_EQ(a.findlabel("-b"), 0);
    EXPECT_EQ(a.findlabel(""), 0);
    EXPECT_EQ(a.findlabel(std::string(40, 'L')), 0);
}

} // namespace
