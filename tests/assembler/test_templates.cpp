// The template table: 246 instructions and 18 directives, sizes, and the ten opcodes it lacks.
#include "assembler/assembler.h"
#include "assembler/asmtable.h"

#include <gtest/gtest.h>

#include <set>

namespace {

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

} // namespace
