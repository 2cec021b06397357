// The decoder table, operands read past the program, and label numbering by first reference.
#include "disassembler/disassembler.h"
#include "disassembler/opcodes.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace kelvane {
namespace {

TEST(DasmOpcodes, UndefinedBytesAreExactlyTheTenGaps)
{
    std::set<int> undefined;
    std::map<int32_t, int> bylength;
    std::set<std::string> texts;
    for (int op = 0; op < 256; ++op) {
        const DasmOpcode& e = dasmopcodes()[static_cast<size_t>(op)];
        if (e.operand == DasmOperand::undefined) {
            undefined.insert(op);
            continue;
        }
        ++bylength[e.length];
        EXPECT_TRUE(texts.insert(e.text).second) << "text used twice: " << e.text;
    }
    EXPECT_EQ(undefined, (std::set<int>{0x08, 0x10, 0x18, 0x28, 0x38, 0xCB, 0xD9, 0xDD, 0xED, 0xFD}));
    EXPECT_EQ(bylength, (std::map<int32_t, int>{{1, 202}, {2, 18}, {3, 26}}));
}

TEST(DasmDecode, OperandsPastTheProgramAreWhatTheImageHolds)
{
    // A word instruction at the very top of a 64K image reads the two cleared elements behind it.
    Disassembler d;
    d.dasmimage[0xFFFF] = 0x21;
    d.dasmsize = 65536;
    d.dasmaddress = 0xFFFF;
    d.decodeinstruction(false);
    EXPECT_EQ(d.dasmtext, "LXI H,0000H");
    EXPECT_EQ(d.dasmlength, 3);
}

TEST(DasmLabel, NumbersFollowFirstReferenceAndKeepFourDigits)
{
    Disassembler d;
    const std::pair<int32_t, const char*> refs[] = {
        {0x0500, "0001"}, {0x0010, "0002"}, {0x0500, "0001"}, {0xFFFF, "0003"}, {0x0010, "0002"}};
    for (auto [target, want] : refs)
        EXPECT_EQ(d.dasmlabel(target), want) << target;
    EXPECT_EQ(d.dasmlabels, (std::vector<int32_t>{0, 0x0500, 0x0010, 0xFFFF}));
    for (int32_t a = 0x1000; a < 0x1000 + 12342; ++a)
        d.dasmlabel(a);
    EXPECT_EQ(d.dasmlabel(0x1000 + 9995), "9999");
    EXPECT_EQ(d.dasmlabel(0x1000 + 9996), "0000");
    EXPECT_EQ(d.dasmlabelcount, 12345);
}

} // namespace
} // namespace kelvane
