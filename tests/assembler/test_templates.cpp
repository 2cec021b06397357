#include "asmtesthelp.h"
#include "assembler/asmtable.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using asmtest::outcome;

TEST(TemplateTable, CountsSizesAndMissingOpcodes)
{
    int instructions = 0;
    int directives = 0;
    int bysize[4] = {};
    std::set<int> opcodes;
    std::set<std::string> texts;
    for (const auto& t : kelvane::asmtemplates()) {
        EXPECT_TRUE(texts.insert(t.text).second) << "duplicate template " << t.text;
        if (t.directive != kelvane::Directive::none) {
            ++directives;
            continue;
        }
        ++instructions;
        ++bysize[t.size];
        EXPECT_TRUE(opcodes.insert(t.opcode).second) << "opcode twice: " << t.text;
        EXPECT_EQ(t.text.find('*') != std::string::npos, t.operandclass != kelvane::OperandClass::none) << t.text;
        EXPECT_EQ(kelvane::findtemplate(t.text), &t);
    }
    EXPECT_EQ(instructions, 246);
    EXPECT_EQ(directives, 18);
    EXPECT_EQ(bysize[1], 202);
    EXPECT_EQ(bysize[2], 18);
    EXPECT_EQ(bysize[3], 26);
    // The ten opcodes without a documented instruction.
    for (int op : {0x08, 0x10, 0x18, 0x28, 0x38, 0xCB, 0xD9, 0xDD, 0xED, 0xFD}) {
        EXPECT_EQ(opcodes.count(op), 0u) << op;
        EXPECT_EQ(kelvane::templateofopcode(op), nullptr);
    }
}

struct LineCase {
    const char* line;
    const char* result; // code text, or "E:" and the message
};

void runcases(const std::string& prelude, int preludelines, const std::vector<LineCase>& cases)
{
    for (const auto& c : cases) {
        kelvane::Assembler a;
        a.assembletext(prelude + c.line + "\n", 1000);
        EXPECT_EQ(outcome(a, preludelines + 1), c.result) << "line: [" << c.line << "]";
    }
}

TEST(Templates, EncodingsAndRegisterForms)
{
    runcases("", 0, {
        {"\tmov   a ,  b", "78"}, {"\tMOV M,A", "77"}, {"\tMOV A,M", "7E"}, {"\tmov b,b", "40"},
        {"\tMVI M,12H", "36 12"}, {"\tLXI SP,1234H", "31 34 12"}, {"\tlxi h,-1", "21 FF FF"},
        {"\tSTAX D", "12"}, {"\tLDAX B", "0A"}, {"\tSTA 1234H", "32 34 12"}, {"\tLDA -1", "3A FF FF"},
        {"\tSHLD 0", "22 00 00"}, {"\tLHLD 65535", "2A FF FF"},
        {"\tXCHG", "EB"}, {"\tXTHL", "E3"}, {"\tSPHL", "F9"}, {"\tPCHL", "E9"},
        {"\tPUSH PSW", "F5"}, {"\tpop psw", "F1"}, {"\tPUSH H", "E5"}, {"\tPOP D", "D1"},
        {"\tINX SP", "33"}, {"\tDCX B", "0B"}, {"\tDAD SP", "39"}, {"\tDAD H", "29"},
        {"\tJMP 1234H", "C3 34 12"}, {"\tJNZ 0", "C2 00 00"}, {"\tJPE 1", "EA 01 00"}, {"\tJM 0FFFFH", "FA FF FF"},
        {"\tCALL 100H", "CD 00 01"}, {"\tCPO 2", "E4 02 00"}, {"\tCM 0", "FC 00 00"},
        {"\tRET", "C9"}, {"\tRPE", "E8"}, {"\tRC", "D8"}, {"\trst 7", "FF"}, {"\tRST 0", "C7"},
        {"\tIN 0FEH", "DB FE"}, {"\tOUT -1", "D3 FF"}, {"\tINR M", "34"}, {"\tDCR A", "3D"},
        {"\tADD B", "80"}, {"\tADC M", "8E"}, {"\tSBB A", "9F"}, {"\tXRA A", "AF"}, {"\tCMP L", "BD"},
        {"\tADI 1", "C6 01"}, {"\tCPI 'a'", "FE 61"}, {"\tXRI -128", "EE 80"},
        {"\tRLC", "07"}, {"\tCMC", "3F"}, {"\tDAA", "27"}, {"\tEI", "FB"}, {"\tDI", "F3"},
        {"\tNOP", "00"}, {"\tHLT", "76"}, {"\tRIM", "20"}, {"\tSIM", "30"},
        // Operand ranges by class: byte, word, address.
        {"\tMVI A,-1", "3E FF"}, {"\tMVI A,255", "3E FF"}, {"\tMVI A,-128", "3E 80"},
        {"\tMVI A,256", "E:Invalid argument of the instruction."},
        {"\tMVI A,-129", "E:Invalid argument of the instruction."},
        {"\tLXI B,-32768", "01 00 80"}, {"\tLXI B,-32769", "E:Invalid argument of the instruction."},
        {"\tJMP -1", "E:Invalid argument of the instruction."}, {"\tIN 256", "E:Invalid argument of the instruction."},
        {"\tJMP 65536", "E:Invalid argument of the instruction."},
        {"\tJMP NOWHERE", "E:Invalid argument of the instruction."},
        {"\tMVI A,','", "3E 2C"},
        // Only a whole text from the table is legal.
        {"\tMOV A B", "E:Unrecognized instruction."}, {"\tMVI A", "E:Unrecognized instruction."},
        {"\tMOV A,5", "E:Unrecognized instruction."}, {"\tMVI 5,A", "E:Unrecognized instruction."},
        {"\tLXI A,5", "E:Unrecognized instruction."}, {"\tPUSH SP", "E:Unrecognized instruction."},
        {"\tMOV M,M", "E:Unrecognized instruction."}, {"\tLXI PSW,0", "E:Unrecognized instruction."},
        {"\tRST 8", "E:Unrecognized instruction."}, {"\tRST A", "E:Unrecognized instruction."},
        {"\tRST 1+1", "E:Unrecognized instruction."}, {"\tRST 01", "E:Unrecognized instruction."},
        {"\tNOP 5", "E:Unrecognized instruction."}, {"\tMOV A,B,C", "E:Unrecognized instruction."},
        {"\tJMP", "E:Unrecognized instruction."}, {"\tFOO 5", "E:Unrecognized instruction."},
        {"\t5", "E:Unrecognized instruction."}, {"\tMOV ,B", "E:Unrecognized instruction."},
        // An empty first operand leaves the second alone in the operand slot.
        {"\tNOP ,5", "00"}, {"\tNOP ,NOWHERE", "E:Invalid argument of the instruction."},
        {"\tJMP ,5", "E:Unrecognized instruction."},
        // A mnemonic in the first column is a label.
        {"NOP", ""}, {"MOV A,B", "E:Unrecognized instruction."},
    });
}

TEST(Templates, RegisterWordsCantBeLoneValues)
{
    const std::string prelude = "B EQU 1234H\n";
    runcases(prelude, 1, {
        {"\tJMP B", "E:Unrecognized instruction."},
        {"\tJMP B+0", "C3 34 12"},
        {"\tJMP b+0", "C3 34 12"},
        {"\tLXI H,B+1", "21 35 12"},
        {"\tLXI H,-B", "21 CC ED"},
    });
}

} // namespace
