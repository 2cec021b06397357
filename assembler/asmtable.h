// The assembler's table of legal statements: the 246 instruction templates of the 8085 and the
// 18 directive templates, each a whole upper-case text such as "MVI A,*", with opcode, size and
// operand class. Lookup is by hash on the exact text.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

enum class OperandClass : uint8_t { none, byte, word, address };

enum class Directive : uint8_t { none, org, equ, db, dw, ds, end };

struct AsmTemplate {
    std::string text;       // "MVI A,*"
    int32_t opcode = 0;     // 0-255; 0 for directives
    int32_t size = 0;       // 1, 2 or 3; 0 for directives
    OperandClass operandclass = OperandClass::none;
    Directive directive = Directive::none;
};

// All 246 instruction templates followed by the 18 directive templates.
const std::vector<AsmTemplate>& asmtemplates();

// The template whose text equals t exactly, or nullptr.
const AsmTemplate* findtemplate(std::string_view t);

// The instruction template of an opcode, or nullptr for the ten opcodes that have none.
const AsmTemplate* templateofopcode(int32_t opcode);

} // namespace kelvane
