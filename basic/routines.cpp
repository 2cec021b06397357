// The four runtime routines the generated program calls, written out word for word after the
// program's closing HLT: subtraction, multiplication, division and comparison, each only if used.
// All take the left operand in DE and the right one in HL and return the result in HL.
#include "basic/translator.h"

namespace kelvane::basic {

namespace {

struct Row {
    const char* label; // "" for none
    const char* text;
};

// HL = DE - HL; DE is kept. The borrow step keeps the mnemonic "SSB H" as it has always been
// written; the assembler refuses it until the user corrects the line.
const Row subtraction[] = {
    {"S001", "MOV A,E"}, {"", "SUB L"}, {"", "MOV L,A"}, {"", "MOV A,D"},
    {"", "SSB H"},       {"", "MOV H,A"}, {"", "RET"},
};

// HL = DE x HL, low 16 bits: BC shifts right, DE left, until either is zero.
const Row multiplication[] = {
    {"M001", "MOV B,H"}, {"", "MOV C,L"}, {"", "LXI H,0000H"}, {"M002", "MOV A,C"}, {"", "RRC"},
    {"", "JNC M003"},    {"", "DAD D"},   {"M003", "XRA A"},   {"", "MOV A,B"},     {"", "RAR"},
    {"", "MOV B,A"},     {"", "MOV A,C"}, {"", "RAR"},         {"", "MOV C,A"},     {"", "ORA B"},
    {"", "RZ"},          {"", "XRA A"},   {"", "MOV A,E"},     {"", "RAL"},         {"", "MOV E,A"},
    {"", "MOV A,D"},     {"", "RAL"},     {"", "MOV D,A"},     {"", "ORA E"},       {"", "RZ"},
    {"", "JMP M002"},
};

// Signed DE / HL: quotient in HL, remainder (with the quotient's sign) in DE; sixteen steps of
// restoring division on the magnitudes, no test for a zero divisor.
const Row division[] = {
    {"D001", "MOV B,H"}, {"", "MOV C,L"},   {"", "MOV A,D"},     {"", "XRA B"},     {"", "PUSH PSW"},
    {"", "MOV A,D"},     {"", "ORA A"},     {"", "CM D005"},     {"", "MOV A,B"},   {"", "ORA A"},
    {"", "CM D006"},     {"", "MVI A,10H"}, {"", "PUSH PSW"},    {"", "XCHG"},      {"", "LXI D,0000H"},
    {"D002", "DAD H"},   {"", "CALL D007"}, {"", "JZ D003"},     {"", "CALL D008"}, {"", "JM D003"},
    {"", "MOV A,L"},     {"", "ORI 01H"},   {"", "MOV L,A"},     {"", "MOV A,E"},   {"", "SUB C"},
    {"", "MOV E,A"},     {"", "MOV A,D"},   {"", "SBB B"},       {"", "MOV D,A"},   {"D003", "POP PSW"},
    {"", "DCR A"},       {"", "JZ D004"},   {"", "PUSH PSW"},    {"", "JMP D002"},  {"D004", "POP PSW"},
    {"", "RP"},          {"", "CALL D005"}, {"", "XCHG"},        {"", "CALL D005"}, {"", "XCHG"},
    {"", "RET"},         {"D005", "MOV A,D"}, {"", "CMA"},       {"", "MOV D,A"},   {"", "MOV A,E"},
    {"", "CMA"},         {"", "MOV E,A"},   {"", "INX D"},       {"", "RET"},       {"D006", "MOV A,B"},
    {"", "CMA"},         {"", "MOV B,A"},   {"", "MOV A,C"},     {"", "CMA"},       {"", "MOV C,A"},
    {"", "INX B"},       {"", "RET"},       {"D007", "MOV A,E"}, {"", "RAL"},       {"", "MOV E,A"},
    {"", "MOV A,D"},     {"", "RAL"},       {"", "MOV D,A"},     {"", "ORA E"},     {"", "RET"},
    {"D008", "MOV A,E"}, {"", "SUB C"},     {"", "MOV A,D"},     {"", "SBB B"},     {"", "RET"},
};

// HL = 1 when the relation of DE to HL holds, else 0; C007 forms DE - HL and judges its sign by
// the high byte alone, so the operands must lie less than 32768 apart.
const Row comparison[] = {
    {"C001", "CALL C007"}, {"", "RZ"},          {"", "DCX H"},       {"", "RET"},       {"C002", "CALL C007"},
    {"", "RNZ"},           {"", "DCX H"},       {"", "RET"},         {"C003", "XCHG"},  {"", "CALL C007"},
    {"", "RC"},            {"", "DCX H"},       {"", "RET"},         {"C004", "CALL C007"}, {"", "RNC"},
    {"", "DCX H"},         {"", "RET"},         {"C005", "CALL C007"}, {"", "RC"},      {"", "DCX H"},
    {"", "RET"},           {"C006", "CALL C007"}, {"", "RZ"},        {"", "RC"},        {"", "DCX H"},
    {"", "RET"},           {"C007", "MOV A,E"}, {"", "SUB L"},       {"", "MOV E,A"},   {"", "MOV A,D"},
    {"", "SBB H"},         {"", "LXI H,0001H"}, {"", "JM C008"},     {"", "ORA E"},     {"", "RET"},
    {"C008", "ORA E"},     {"", "STC"},         {"", "RET"},
};

struct Routine {
    size_t flag;
    const char* heading;
    const Row* rows;
    size_t count;
};

template <size_t N>
constexpr Routine routine(size_t flag, const char* heading, const Row (&rows)[N])
{
    return {flag, heading, rows, N};
}

const Routine routines[] = {
    routine(1, "; Integer Subtraction Routine", subtraction),
    routine(2, "; Integer Multiplication Routine", multiplication),
    routine(3, "; Integer Division Routine", division),
    routine(4, "; Integer Comparison Routine", comparison),
};

} // namespace

void Translator::emitroutines()
{
    for (const Routine& r : routines) {
        if (!routineused_[r.flag])
            continue;
        emitline(r.heading);
        for (size_t i = 0; i < r.count; ++i) {
            if (*r.rows[i].label != '\0')
                emitlabelled(r.rows[i].label, r.rows[i].text);
            else
                emitcode(r.rows[i].text);
        }
    }
}

} // namespace kelvane::basic
