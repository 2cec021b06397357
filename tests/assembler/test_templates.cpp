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
    std::string result; // code text, or "E:" and the message
};

void runcases(const std::string& prelude, int preludelines, const std::vector<LineCase>& cases)
{
    for (const auto& c : cases) {
        kelvane::Assembler a;
        a.assembletext(prelude + c.line + "\n", 1000);
        EXPECT_EQ(outcome(a, preludelines + 1), c.result) << "line: [" << c.line << "]";
    }
}

TEST(Templates, OperandRangesAndWholeTexts)
{
    const std::string badarg = "E:Invalid argument of the instruction.";
    const std::string unrec = "E:Unrecognized instruction.";
    runcases("", 0, {
        {"\tmov   a ,  b", "78"}, {"\tpop psw", "F1"}, {"\trst 7", "FF"}, {"\tMVI A,','", "3E 2C"},
        // Operand ranges by class: byte, word, address.
        {"\tMVI A,-1", "3E FF"}, {"\tMVI A,-128", "3E 80"}, {"\tMVI A,256", badarg}, {"\tMVI A,-129", badarg},
        {"\tLXI B,-32768", "01 00 80"}, {"\tLXI B,-32769", badarg}, {"\tJMP -1", badarg},
        {"\tIN 256", badarg}, {"\tOUT -1", "D3 FF"}, {"\tJMP 65536", badarg}, {"\tJMP NOWHERE", badarg},
        // Only a whole text from the table is legal.
        {"\tMOV A B", unrec}, {"\tMVI A", unrec}, {"\tMOV A,5", unrec}, {"\tMVI 5,A", unrec},
        {"\tLXI A,5", unrec}, {"\tPUSH SP", unrec}, {"\tMOV M,M", unrec}, {"\tLXI PSW,0", unrec},
        {"\tRST 8", unrec}, {"\tRST A", unrec}, {"\tRST 1+1", unrec}, {"\tRST 01", unrec},
        {"\tNOP 5", unrec}, {"\tMOV A,B,C", unrec}, {"\tJMP", unrec}, {"\t5", unrec}, {"\tMOV ,B", unrec},
        // An empty first operand leaves the second alone in the operand slot.
        {"\tNOP ,5", "00"}, {"\tNOP ,NOWHERE", badarg}, {"\tJMP ,5", unrec},
        // A mnemonic in the first column is a label.
        {"NOP", ""}, {"MOV A,B", unrec},
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
