#include "assembler/asmtable.h"

#include <array>
#include <unordered_map>

namespace kelvane {

namespace {

constexpr const char* regs[8] = {"B", "C", "D", "E", "H", "L", "M", "A"};
constexpr const char* pairs[4] = {"B", "D", "H", "SP"};
constexpr const char* conds[8] = {"NZ", "Z", "NC", "C", "PO", "PE", "P", "M"};

struct Fixed {
    const char* text;
    int32_t opcode;
    int32_t size;
    OperandClass cls;
};

// Instructions whose text is not built from a register, pair or condition digit.
constexpr Fixed fixedrows[] = {
    {"STAX B", 0x02, 1, OperandClass::none},  {"STAX D", 0x12, 1, OperandClass::none},
    {"LDAX B", 0x0A, 1, OperandClass::none},  {"LDAX D", 0x1A, 1, OperandClass::none},
    {"STA *", 0x32, 3, OperandClass::word},   {"LDA *", 0x3A, 3, OperandClass::word},
    {"SHLD *", 0x22, 3, OperandClass::word},  {"LHLD *", 0x2A, 3, OperandClass::word},
    {"XCHG", 0xEB, 1, OperandClass::none},    {"XTHL", 0xE3, 1, OperandClass::none},
    {"SPHL", 0xF9, 1, OperandClass::none},    {"PCHL", 0xE9, 1, OperandClass::none},
    {"PUSH PSW", 0xF5, 1, OperandClass::none}, {"POP PSW", 0xF1, 1, OperandClass::none},
    {"JMP *", 0xC3, 3, OperandClass::address}, {"CALL *", 0xCD, 3, OperandClass::address},
    {"RET", 0xC9, 1, OperandClass::none},
    {"IN *", 0xDB, 2, OperandClass::byte},    {"OUT *", 0xD3, 2, OperandClass::byte},
    {"ADI *", 0xC6, 2, OperandClass::byte},   {"ACI *", 0xCE, 2, OperandClass::byte},
    {"SUI *", 0xD6, 2, OperandClass::byte},   {"SBI *", 0xDE, 2, OperandClass::byte},
    {"ANI *", 0xE6, 2, OperandClass::byte},   {"XRI *", 0xEE, 2, OperandClass::byte},
    {"ORI *", 0xF6, 2, OperandClass::byte},   {"CPI *", 0xFE, 2, OperandClass::byte},
    {"RLC", 0x07, 1, OperandClass::none},     {"RRC", 0x0F, 1, OperandClass::none},
    {"RAL", 0x17, 1, OperandClass::none},     {"RAR", 0x1F, 1, OperandClass::none},
    {"DAA", 0x27, 1, OperandClass::none},     {"CMA", 0x2F, 1, OperandClass::none},
    {"STC", 0x37, 1, OperandClass::none},     {"CMC", 0x3F, 1, OperandClass::none},
    {"EI", 0xFB, 1, OperandClass::none},      {"DI", 0xF3, 1, OperandClass::none},
    {"NOP", 0x00, 1, OperandClass::none},     {"HLT", 0x76, 1, OperandClass::none},
    {"RIM", 0x20, 1, OperandClass::none},     {"SIM", 0x30, 1, OperandClass::none},
};

// Register-digit families: base opcode, step per register digit.
struct RegFamily {
    const char* mnemonic;
    int32_t base;
    int32_t step;
};
constexpr RegFamily regfamilies[] = {
    {"INR", 0x04, 8}, {"DCR", 0x05, 8},
    {"ADD", 0x80, 1}, {"ADC", 0x88, 1}, {"SUB", 0x90, 1}, {"SBB", 0x98, 1},
    {"ANA", 0xA0, 1}, {"XRA", 0xA8, 1}, {"ORA", 0xB0, 1}, {"CMP", 0xB8, 1},
};

// Pair-digit families (B, D, H, SP): base opcode, step 16.
constexpr RegFamily pairfamilies[] = {
    {"INX", 0x03, 16}, {"DCX", 0x0B, 16}, {"DAD", 0x09, 16},
};

// Condition families: prefix letter, base opcode, size, class.
struct CondFamily {
    const char* prefix;
    int32_t base;
    int32_t size;
    OperandClass cls;
};
constexpr CondFamily condfamilies[] = {
    {"J", 0xC2, 3, OperandClass::address},
    {"C", 0xC4, 3, OperandClass::address},
    {"R", 0xC0, 1, OperandClass::none},
};

struct DirectiveRow {
    const char* text;
    Directive d;
};
constexpr DirectiveRow directiverows[] = {
    {".ORG *", Directive::org},  {"ORG *", Directive::org},
    {".EQU *", Directive::equ},  {"EQU *", Directive::equ},
    {".DB *", Directive::db},    {"DB *", Directive::db},
    {".DEFB *", Directive::db},  {"DEFB *", Directive::db},
    {".DW *", Directive::dw},    {"DW *", Directive::dw},
    {".DEFW *", Directive::dw},  {"DEFW *", Directive::dw},
    {".DS *", Directive::ds},    {"DS *", Directive::ds},
    {".DEFS *", Directive::ds},  {"DEFS *", Directive::ds},
    {".END", Directive::end},    {"END", Directive::end},
};

std::vector<AsmTemplate> buildtable()
{
    std::vector<AsmTemplate> t;
    auto add = [&t](std::string text, int32_t op, int32_t size, OperandClass cls) {
        t.push_back({std::move(text), op, size, cls, Directive::none});
    };
    for (int d = 0; d < 8; ++d)
        for (int s = 0; s < 8; ++s)
            if (!(d == 6 && s == 6))
                add(std::string("MOV ") + regs[d] + "," + regs[s], 0x40 + 8 * d + s, 1, OperandClass::none);
    for (int r = 0; r < 8; ++r)
        add(std::string("MVI ") + regs[r] + ",*", 0x06 + 8 * r, 2, OperandClass::byte);
    for (int p = 0; p < 4; ++p)
        add(std::string("LXI ") + pairs[p] + ",*", 0x01 + 16 * p, 3, OperandClass::word);
    for (int p = 0; p < 3; ++p) {
        add(std::string("PUSH ") + pairs[p], 0xC5 + 16 * p, 1, OperandClass::none);
        add(std::string("POP ") + pairs[p], 0xC1 + 16 * p, 1, OperandClass::none);
    }
    for (const auto& f : pairfamilies)
        for (int p = 0; p < 4; ++p)
            add(std::string(f.mnemonic) + " " + pairs[p], f.base + f.step * p, 1, OperandClass::none);
    for (const auto& f : condfamilies)
        for (int c = 0; c < 8; ++c)
            add(std::string(f.prefix) + conds[c] + (f.size == 3 ? " *" : ""), f.base + 8 * c, f.size, f.cls);
    for (int n = 0; n < 8; ++n)
        add("RST " + std::to_string(n), 0xC7 + 8 * n, 1, OperandClass::none);
    for (const auto& f : regfamilies)
        for (int r = 0; r < 8; ++r)
            add(std::string(f.mnemonic) + " " + regs[r], f.base + f.step * r, 1, OperandClass::none);
    for (const auto& f : fixedrows)
        add(f.text, f.opcode, f.size, f.cls);
    for (const auto& d : directiverows)
        t.push_back({d.text, 0, 0, OperandClass::none, d.d});
    return t;
}

struct TextHash {
    using is_transparent = void;
    size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
};

struct Index {
    std::vector<AsmTemplate> table = buildtable();
    std::unordered_map<std::string, const AsmTemplate*, TextHash, std::equal_to<>> bytext;
    std::array<const AsmTemplate*, 256> byopcode{};
    Index()
    {
        for (const auto& t : table) {
            bytext.emplace(t.text, &t);
            if (t.directive == Directive::none)
                byopcode[static_cast<size_t>(t.opcode)] = &t;
        }
    }
};

const Index& index()
{
    static const Index idx;
    return idx;
}

} // namespace

const std::vector<AsmTemplate>& asmtemplates()
{
    return index().table;
}

const AsmTemplate* findtemplate(std::string_view t)
{
    const auto& m = index().bytext;
    auto it = m.find(t);
    return it == m.end() ? nullptr : it->second;
}

const AsmTemplate* templateofopcode(int32_t opcode)
{
    if (opcode < 0 || opcode > 255)
        return nullptr;
    return index().byopcode[static_cast<size_t>(opcode)];
}

} // namespace kelvane
