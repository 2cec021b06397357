// Whole result texts in both forms: headings, row columns, labels set on rows, the .EQU rows
// for targets that no row carries, and the label list sorted by address and by number.
#include "testutil.h"

namespace kelvane {
namespace {

using test::disassemblebytes;
using test::joinrows;

const std::vector<std::string> listinghead = {
    "--------------------------------------------------",
    "8085 DISASSEMBLER LISTING",
    "Line   Addr Opcodes     Label   Instruction",
    "--------------------------------------------------",
    "",
};
const std::vector<std::string> sourcehead = {
    ";-------------------------------------------------",
    ";8085 DISASSEMBLER LISTING",
    ";Label  Instruction",
    ";-------------------------------------------------",
    "",
};
const std::vector<std::string> listinglist = {
    "",
    "---------------------------------------------",
    "LIST OF LABELS",
    "Sorted by address:      Sorted by name:",
    "---------------------------------------------",
    "",
};
const std::vector<std::string> sourcelist = {
    "",
    ";--------------------------------------------",
    ";LIST OF LABELS",
    ";Sorted by address:      Sorted by name:",
    ";--------------------------------------------",
    "",
};

std::vector<std::string> cat(std::initializer_list<std::vector<std::string>> parts)
{
    std::vector<std::string> all;
    for (const auto& p : parts)
        all.insert(all.end(), p.begin(), p.end());
    return all;
}

struct OutputCase {
    const char* name;
    std::vector<uint8_t> bytes;
    std::vector<std::string> listing;
    std::vector<std::string> source;
};

class OutputTest : public ::testing::TestWithParam<OutputCase> {};

TEST_P(OutputTest, BothForms)
{
    const OutputCase& c = GetParam();
    test::WorkFolder dir;
    EXPECT_EQ(disassemblebytes(c.bytes, false, dir.path()), joinrows(c.listing));
    EXPECT_EQ(disassemblebytes(c.bytes, true, dir.path()), joinrows(c.source));
}

INSTANTIATE_TEST_SUITE_P(
    Programs, OutputTest,
    ::testing::Values(
        OutputCase{"SampleWithOneLabel",
                   {0x3E, 0x05, 0xC3, 0x02, 0x00},
                   cat({listinghead,
                        {"0001   0000 3E 05               MVI A,05H",
                         "0002   0002 C3 02 00    L0001:  JMP L0001"},
                        listinglist,
                        {"L0001:  0002            L0001:  0002"}}),
                   cat({sourcehead,
                        {"        MVI A,05H",
                         "L0001:  JMP L0001"},
                        sourcelist,
                        {";L0001:  0002            L0001:  0002"}})},
        OutputCase{"SingleByteHasNoLabelList",
                   {0x00},
                   cat({listinghead, {"0001   0000 00                  NOP"}}),
                   cat({sourcehead, {"        NOP"}})},
        OutputCase{"StraddlingLastInstructionTakesZeros",
                   {0x00, 0x21},
                   cat({listinghead,
                        {"0001   0000 00                  NOP",
                         "0002   0001 21 00 00            LXI H,0000H"}}),
                   cat({sourcehead, {"        NOP", "        LXI H,0000H"}})},
        OutputCase{"JumpIntoOwnSecondByteGetsEqu",
                   {0xC3, 0x01, 0x00},
                   cat({listinghead,
                        {"0001   0000 C3 01 00            JMP L0001"},
                        listinglist,
                        {"L0001:  0001            L0001:  0001"}}),
                   cat({sourcehead,
                        {"L0001:  .EQU 0001H", "", "        JMP L0001"},
                        sourcelist,
                        {";L0001:  0001            L0001:  0001"}})},
        OutputCase{"JumpPastTheEndGetsEquWithLeadingZero",
                   {0xCD, 0x00, 0xA0, 0xC2, 0x00, 0x10},
                   cat({listinghead,
                        {"0001   0000 CD 00 A0            CALL L0001",
                         "0002   0003 C2 00 10            JNZ L0002"},
                        listinglist,
                        {"L0002:  1000            L0001:  A000",
                         "L0001:  A000            L0002:  1000"}}),
                   cat({sourcehead,
                        {"L0002:  .EQU 1000H", "L0001:  .EQU 0A000H", "",
                         "        CALL L0001", "        JNZ L0002"},
                        sourcelist,
                        {";L0002:  1000            L0001:  A000",
                         ";L0001:  A000            L0002:  1000"}})},
        OutputCase{"BackwardJumpHasHigherNumberLowerAddress",
                   {0xC3, 0x06, 0x00, 0xC3, 0x00, 0x00, 0x76},
                   cat({listinghead,
                        {"0001   0000 C3 06 00    L0002:  JMP L0001",
                         "0002   0003 C3 00 00            JMP L0002",
                         "0003   0006 76          L0001:  HLT"},
                        listinglist,
                        {"L0002:  0000            L0001:  0006",
                         "L0001:  0006            L0002:  0000"}}),
                   cat({sourcehead,
                        {"L0002:  JMP L0001", "        JMP L0002", "L0001:  HLT"},
                        sourcelist,
                        {";L0002:  0000            L0001:  0006",
                         ";L0001:  0006            L0002:  0000"}})},
        // The label pointer moves one place a row: a label inside an instruction makes the
        // next label, though its target has a row, fall behind; it then only has its .EQU.
        OutputCase{"LabelPointerFallsBehind",
                   {0xC3, 0x01, 0x00, 0xC3, 0x03, 0x00, 0x76},
                   cat({listinghead,
                        {"0001   0000 C3 01 00            JMP L0001",
                         "0002   0003 C3 03 00            JMP L0002",
                         "0003   0006 76                  HLT"},
                        listinglist,
                        {"L0001:  0001            L0001:  0001",
                         "L0002:  0003            L0002:  0003"}}),
                   cat({sourcehead,
                        {"L0001:  .EQU 0001H", "L0002:  .EQU 0003H", "",
                         "        JMP L0001", "        JMP L0002", "        HLT"},
                        sourcelist,
                        {";L0001:  0001            L0001:  0001",
                         ";L0002:  0003            L0002:  0003"}})},
        OutputCase{"UndefinedAndLetterOperands",
                   {0x08, 0xCB, 0x3E, 0xFF, 0x21, 0x00, 0xF0},
                   cat({listinghead,
                        {"0001   0000 08                  UNRECOGNIZED",
                         "0002   0001 CB                  UNRECOGNIZED",
                         "0003   0002 3E FF               MVI A,0FFH",
                         "0004   0004 21 00 F0            LXI H,0F000H"}}),
                   cat({sourcehead,
                        {"        .DB 08H ;UNRECOGNIZED", "        .DB 0CBH ;UNRECOGNIZED",
                         "        MVI A,0FFH", "        LXI H,0F000H"}})},
        // Several references to one target, a label at address 0 and one on the last row.
        OutputCase{"RepeatedTargets",
                   {0xCA, 0x07, 0x00, 0xDA, 0x00, 0x00, 0x00, 0xC3, 0x07, 0x00},
                   cat({listinghead,
                        {"0001   0000 CA 07 00    L0002:  JZ L0001",
                         "0002   0003 DA 00 00            JC L0002",
                         "0003   0006 00                  NOP",
                         "0004   0007 C3 07 00    L0001:  JMP L0001"},
                        listinglist,
                        {"L0002:  0000            L0001:  0007",
                         "L0001:  0007            L0002:  0000"}}),
                   cat({sourcehead,
                        {"L0002:  JZ L0001", "        JC L0002", "        NOP", "L0001:  JMP L0001"},
                        sourcelist,
                        {";L0002:  0000            L0001:  0007",
                         ";L0001:  0007            L0002:  0000"}})}),
    [](const ::testing::TestParamInfo<OutputCase>& info) { return std::string(info.param.name); });

TEST(DasmOutput, FullImageEndsAtTheTopAndLineNumbersWrap)
{
    // 65536 bytes: NOPs, with a JMP in the last byte that reads the zeros behind the image.
    std::vector<uint8_t> image(65536, 0);
    image[0xFFFF] = 0xC3;
    test::WorkFolder dir;
    const std::string text = disassemblebytes(image, false, dir.path());
    EXPECT_NE(text.find("\n9999   270E 00                  NOP\n0000   270F 00                  NOP\n"),
              std::string::npos);
    EXPECT_NE(text.find("\n5535   FFFE 00                  NOP\n5536   FFFF C3 00 00    "
                        "        JMP L0001\n\n"),
              std::string::npos);
    // The target 0000 has a row, the very first one.
    EXPECT_NE(text.find("\n0001   0000 00          L0001:  NOP\n"), std::string::npos);
    EXPECT_TRUE(text.ends_with("\nL0001:  0000            L0001:  0000\n"));
}

TEST(DasmOutput, SizeTellsWhereTheSweepStops)
{
    // The bytes behind dasmsize are not rows, even when the image holds something there.
    Disassembler d;
    test::WorkFolder dir;
    d.workfolder = dir.path();
    d.dasmimage[0] = 0x00;
    d.dasmimage[1] = 0x3E;
    d.dasmimage[2] = 0x77;
    d.dasmimage[3] = 0x76;
    d.dasmsize = 2;
    ASSERT_TRUE(d.disassemble(true, false));
    std::string text;
    ASSERT_TRUE(d.takeresult(text));
    EXPECT_EQ(text, joinrows(cat({listinghead,
                                  {"0001   0000 00                  NOP",
                                   "0002   0001 3E 77               MVI A,77H"}})));
}

TEST(DasmOutput, WholeMemoryWithAStraddlingLastInstruction)
{
    // A memory whose top byte starts a CALL: the operands come from the cleared elements behind
    // 64K, not from a previous program's leftovers.
    Disassembler d;
    test::WorkFolder dir;
    d.workfolder = dir.path();
    std::fill(d.dasmimage.begin(), d.dasmimage.end(), 0x55);
    std::vector<int32_t> mem(65536, 0);
    mem[0] = 0x76;
    mem[0xFFFE] = 0x00;
    mem[0xFFFF] = 0xCD;
    d.loadmemory(mem.data(), 65536);
    ASSERT_TRUE(d.disassemble(true, true));
    std::string text;
    ASSERT_TRUE(d.takeresult(text));
    EXPECT_TRUE(text.starts_with(joinrows(cat({sourcehead, {"L0001:  HLT", "        NOP"}}))));
    EXPECT_NE(text.find("\n        NOP\n        CALL L0001\n\n;---"), std::string::npos);
}

} // namespace
} // namespace kelvane
