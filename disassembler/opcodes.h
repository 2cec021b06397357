// The decoder's table of all 256 opcode bytes: for each, the instruction text (or the text in
// front of its operand), the kind of operand that follows, and the length in bytes.
#pragma once
#include <array>
#include <cstdint>
#include <string>

namespace kelvane {

enum class DasmOperand : uint8_t {
    none,      // the whole instruction is the text, e.g. "MOV B,C"
    byte,      // text such as "MVI B," then one byte
    word,      // text such as "LXI SP," then a little-endian word
    address,   // text such as "JMP L" then a label number
    undefined, // no instruction has this opcode
};

struct DasmOpcode {
    std::string text;
    DasmOperand operand = DasmOperand::undefined;
    int32_t length = 1;
};

// Indexed by the opcode byte. Built once from the instruction families.
const std::array<DasmOpcode, 256>& dasmopcodes();

} // namespace kelvane
