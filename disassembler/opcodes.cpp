#include "disassembler/opcodes.h"

namespace kelvane {

namespace {

constexpr const char* regname[8] = {"B", "C", "D", "E", "H", "L", "M", "A"};
constexpr const char* pairname[4] = {"B", "D", "H", "SP"};
constexpr const char* stackpairname[4] = {"B", "D", "H", "PSW"};
constexpr const char* condname[8] = {"NZ", "Z", "NC", "C", "PO", "PE", "P", "M"};
constexpr const char* aluname[8] = {"ADD", "ADC", "SUB", "SBB", "ANA", "XRA", "ORA", "CMP"};
constexpr const char* aluimmname[8] = {"ADI", "ACI", "SUI", "SBI", "ANI", "XRI", "ORI", "CPI"};

struct Fixed {
    int opcode;
    const char* text;
    DasmOperand operand;
};

// Single opcodes that no family formula covers.
constexpr Fixed fixedopcodes[] = {
    {0x02, "STAX B", DasmOperand::none},  {0x12, "STAX D", DasmOperand::none},
    {0x0A, "LDAX B", DasmOperand::none},  {0x1A, "LDAX D", DasmOperand::none},
    {0x32, "STA ", DasmOperand::word},    {0x3A, "LDA ", DasmOperand::word},
    {0x22, "SHLD ", DasmOperand::word},   {0x2A, "LHLD ", DasmOperand::word},
    {0xEB, "XCHG", DasmOperand::none},    {0xE3, "XTHL", DasmOperand::none},
    {0xF9, "SPHL", DasmOperand::none},    {0xE9, "PCHL", DasmOperand::none},
    {0xC3, "JMP L", DasmOperand::address}, {0xCD, "CALL L", DasmOperand::address},
    {0xC9, "RET", DasmOperand::none},
    {0xDB, "IN ", DasmOperand::byte},     {0xD3, "OUT ", DasmOperand::byte},
    {0x07, "RLC", DasmOperand::none},     {0x0F, "RRC", DasmOperand::none},
    {0x17, "RAL", DasmOperand::none},     {0x1F, "RAR", DasmOperand::none},
    {0x27, "DAA", DasmOperand::none},     {0x2F, "CMA", DasmOperand::none},
    {0x37, "STC", DasmOperand::none},     {0x3F, "CMC", DasmOperand::none},
    {0xFB, "EI", DasmOperand::none},      {0xF3, "DI", DasmOperand::none},
    {0x00, "NOP", DasmOperand::none},     {0x76, "HLT", DasmOperand::none},
    {0x20, "RIM", DasmOperand::none},     {0x30, "SIM", DasmOperand::none},
};

int32_t lengthof(DasmOperand k)
{
    switch (k) {
    case DasmOperand::byte:
        return 2;
    case DasmOperand::word:
    case DasmOperand::address:
        return 3;
    default:
        return 1;
    }
}

std::array<DasmOpcode, 256> buildtable()
{
    std::array<DasmOpcode, 256> t{};
    auto set = [&t](int op, std::string text, DasmOperand k) {
        t[static_cast<size_t>(op)] = DasmOpcode{std::move(text), k, lengthof(k)};
    };
    const std::string s = std::string();
    for (int d = 0; d < 8; ++d)
        for (int r = 0; r < 8; ++r)
            if (!(d == 6 && r == 6))
                set(0x40 + 8 * d + r, s + "MOV " + regname[d] + "," + regname[r], DasmOperand::none);
    for (int r = 0; r < 8; ++r) {
        set(0x06 + 8 * r, s + "MVI " + regname[r] + ",", DasmOperand::byte);
        set(0x04 + 8 * r, s + "INR " + regname[r], DasmOperand::none);
        set(0x05 + 8 * r, s + "DCR " + regname[r], DasmOperand::none);
        for (int k = 0; k < 8; ++k)
            set(0x80 + 8 * k + r, s + aluname[k] + " " + regname[r], DasmOperand::none);
    }
    for (int p = 0; p < 4; ++p) {
        set(0x01 + 16 * p, s + "LXI " + pairname[p] + ",", DasmOperand::word);
        set(0x03 + 16 * p, s + "INX " + pairname[p], DasmOperand::none);
        set(0x0B + 16 * p, s + "DCX " + pairname[p], DasmOperand::none);
        set(0x09 + 16 * p, s + "DAD " + pairname[p], DasmOperand::none);
        set(0xC5 + 16 * p, s + "PUSH " + stackpairname[p], DasmOperand::none);
        set(0xC1 + 16 * p, s + "POP " + stackpairname[p], DasmOperand::none);
    }
    for (int c = 0; c < 8; ++c) {
        set(0xC2 + 8 * c, s + "J" + condname[c] + " L", DasmOperand::address);
        set(0xC4 + 8 * c, s + "C" + condname[c] + " L", DasmOperand::address);
        set(0xC0 + 8 * c, s + "R" + condname[c], DasmOperand::none);
        set(0xC7 + 8 * c, "RST " + std::to_string(c), DasmOperand::none);
        set(0xC6 + 8 * c, s + aluimmname[c] + " ", DasmOperand::byte);
    }
    for (const Fixed& f : fixedopcodes)
        set(f.opcode, f.text, f.operand);
    return t;
}

} // namespace

const std::array<DasmOpcode, 256>& dasmopcodes()
{
    static const std::array<DasmOpcode, 256> table = buildtable();
    return table;
}

} // namespace kelvane
