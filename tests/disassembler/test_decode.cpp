// The decoder: every opcode byte, the operand texts with their leading zeros, the undefined
// bytes in both forms, and label numbering by first reference.
#include "disassembler/disassembler.h"
#include "disassembler/opcodes.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace kelvane {
namespace {

TEST(DasmOpcodes, UndefinedBytesAreExactlyTheTenGaps)
{
    const std::set<int> expected = {0x08, 0x10, 0x18, 0x28, 0x38, 0xCB, 0xD9, 0xDD, 0xED, 0xFD};
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
    EXPECT_EQ(undefined, expected);
    EXPECT_EQ(bylength[1], 202);
    EXPECT_EQ(bylength[2], 18);
    EXPECT_EQ(bylength[3], 26);
}

struct DecodeCase {
    std::vector<int32_t> bytes;
    const char* listing;
    const char* source;
    int32_t length;
};

class DecodeTest : public ::testing::TestWithParam<DecodeCase> {};

TEST_P(DecodeTest, TextAndLength)
{
    const DecodeCase& c = GetParam();
    for (bool sourceform : {false, true}) {
        Disassembler d;
        std::copy(c.bytes.begin(), c.bytes.end(), d.dasmimage.begin() + 0x100);
        d.dasmsize = 0x100 + static_cast<int32_t>(c.bytes.size());
        d.dasmaddress = 0x100;
        d.decodeinstruction(sourceform);
        EXPECT_EQ(d.dasmtext, sourceform ? c.source : c.listing);
        EXPECT_EQ(d.dasmlength, c.length);
    }
}

INSTANTIATE_TEST_SUITE_P(
    AllFamilies, DecodeTest,
    ::testing::Values(
        DecodeCase{{0x00}, "NOP", "NOP", 1}, DecodeCase{{0x76}, "HLT", "HLT", 1},
        DecodeCase{{0x7E}, "MOV A,M", "MOV A,M", 1}, DecodeCase{{0x70}, "MOV M,B", "MOV M,B", 1},
        DecodeCase{{0x41}, "MOV B,C", "MOV B,C", 1}, DecodeCase{{0x02}, "STAX B", "STAX B", 1},
        DecodeCase{{0x1A}, "LDAX D", "LDAX D", 1}, DecodeCase{{0xF5}, "PUSH PSW", "PUSH PSW", 1},
        DecodeCase{{0xF1}, "POP PSW", "POP PSW", 1}, DecodeCase{{0xC5}, "PUSH B", "PUSH B", 1},
        DecodeCase{{0x33}, "INX SP", "INX SP", 1}, DecodeCase{{0x3B}, "DCX SP", "DCX SP", 1},
        DecodeCase{{0x39}, "DAD SP", "DAD SP", 1}, DecodeCase{{0x29}, "DAD H", "DAD H", 1},
        DecodeCase{{0x34}, "INR M", "INR M", 1}, DecodeCase{{0x3D}, "DCR A", "DCR A", 1},
        DecodeCase{{0x9E}, "SBB M", "SBB M", 1}, DecodeCase{{0xBF}, "CMP A", "CMP A", 1},
        DecodeCase{{0xA8}, "XRA B", "XRA B", 1}, DecodeCase{{0xC7}, "RST 0", "RST 0", 1},
        DecodeCase{{0xDF}, "RST 3", "RST 3", 1}, DecodeCase{{0xFF}, "RST 7", "RST 7", 1},
        DecodeCase{{0xE9}, "PCHL", "PCHL", 1}, DecodeCase{{0xE3}, "XTHL", "XTHL", 1},
        DecodeCase{{0xC9}, "RET", "RET", 1}, DecodeCase{{0xE0}, "RPO", "RPO", 1},
        DecodeCase{{0xF8}, "RM", "RM", 1}, DecodeCase{{0x20}, "RIM", "RIM", 1},
        DecodeCase{{0x30}, "SIM", "SIM", 1}, DecodeCase{{0x27}, "DAA", "DAA", 1},
        DecodeCase{{0xF3}, "DI", "DI", 1}, DecodeCase{{0xFB}, "EI", "EI", 1},
        // Byte operands: a leading zero when the first digit is a letter.
        DecodeCase{{0x3E, 0x05}, "MVI A,05H", "MVI A,05H", 2},
        DecodeCase{{0x3E, 0xFF}, "MVI A,0FFH", "MVI A,0FFH", 2},
        DecodeCase{{0x36, 0x9F}, "MVI M,9FH", "MVI M,9FH", 2},
        DecodeCase{{0xDB, 0xA0}, "IN 0A0H", "IN 0A0H", 2},
        DecodeCase{{0xD3, 0x00}, "OUT 00H", "OUT 00H", 2},
        DecodeCase{{0xFE, 0x0A}, "CPI 0AH", "CPI 0AH", 2},
        DecodeCase{{0xCE, 0x10}, "ACI 10H", "ACI 10H", 2},
        DecodeCase{{0xDE, 0x80}, "SBI 80H", "SBI 80H", 2},
        // Word operands: low byte first, plain numbers, never labels.
        DecodeCase{{0x21, 0x00, 0xF0}, "LXI H,0F000H", "LXI H,0F000H", 3},
        DecodeCase{{0x31, 0x34, 0x12}, "LXI SP,1234H", "LXI SP,1234H", 3},
        DecodeCase{{0x32, 0xCD, 0xAB}, "STA 0ABCDH", "STA 0ABCDH", 3},
        DecodeCase{{0x3A, 0x00, 0x00}, "LDA 0000H", "LDA 0000H", 3},
        DecodeCase{{0x22, 0x01, 0x90}, "SHLD 9001H", "SHLD 9001H", 3},
        DecodeCase{{0x2A, 0xFF, 0xFF}, "LHLD 0FFFFH", "LHLD 0FFFFH", 3},
        // Jumps and calls: a label.
        DecodeCase{{0xC3, 0x00, 0x00}, "JMP L0001", "JMP L0001", 3},
        DecodeCase{{0xCD, 0x34, 0x12}, "CALL L0001", "CALL L0001", 3},
        DecodeCase{{0xEA, 0x00, 0x00}, "JPE L0001", "JPE L0001", 3},
        DecodeCase{{0xE2, 0x00, 0x00}, "JPO L0001", "JPO L0001", 3},
        DecodeCase{{0xF2, 0x00, 0x00}, "JP L0001", "JP L0001", 3},
        DecodeCase{{0xFC, 0x00, 0x00}, "CM L0001", "CM L0001", 3},
        DecodeCase{{0xD4, 0x00, 0x00}, "CNC L0001", "CNC L0001", 3},
        DecodeCase{{0xCC, 0x00, 0x00}, "CZ L0001", "CZ L0001", 3},
        // Undefined bytes differ between the forms.
        DecodeCase{{0x08}, "UNRECOGNIZED", ".DB 08H ;UNRECOGNIZED", 1},
        DecodeCase{{0xCB}, "UNRECOGNIZED", ".DB 0CBH ;UNRECOGNIZED", 1},
        DecodeCase{{0xFD}, "UNRECOGNIZED", ".DB 0FDH ;UNRECOGNIZED", 1},
        DecodeCase{{0x38}, "UNRECOGNIZED", ".DB 38H ;UNRECOGNIZED", 1}));

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

TEST(DasmLabel, NumbersFollowFirstReference)
{
    Disassembler d;
    EXPECT_EQ(d.dasmlabel(0x0500), "0001");
    EXPECT_EQ(d.dasmlabel(0x0010), "0002");
    EXPECT_EQ(d.dasmlabel(0x0500), "0001");
    EXPECT_EQ(d.dasmlabel(0xFFFF), "0003");
    EXPECT_EQ(d.dasmlabel(0x0010), "0002");
    ASSERT_EQ(d.dasmlabelcount, 3);
    EXPECT_EQ(d.dasmlabels[1], 0x0500);
    EXPECT_EQ(d.dasmlabels[2], 0x0010);
    EXPECT_EQ(d.dasmlabels[3], 0xFFFF);
}

TEST(DasmLabel, NumberKeepsOnlyFourDigits)
{
    Disassembler d;
    for (int32_t a = 0; a < 12345; ++a)
        d.dasmlabel(a);
    EXPECT_EQ(d.dasmlabel(9998), "9999");
    EXPECT_EQ(d.dasmlabel(9999), "0000");
    EXPECT_EQ(d.dasmlabel(12344), "2345");
    EXPECT_EQ(d.dasmlabelcount, 12345);
}

TEST(DasmLabel, TableEmptiedByCallerStartsOver)
{
    Disassembler d;
    EXPECT_EQ(d.dasmlabel(0x0100), "0001");
    EXPECT_EQ(d.dasmlabel(0x0200), "0002");
    d.dasmlabelcount = 0;
    d.dasmlabels.assign(1, 0);
    EXPECT_EQ(d.dasmlabel(0x0200), "0001");
    EXPECT_EQ(d.dasmlabel(0x0100), "0002");
}

} // namespace
} // namespace kelvane
