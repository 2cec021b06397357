#include "core/instrtext.h"

#include "core/hexutil.h"

#include <array>
#include <cstring>

namespace kelvane {

namespace {

enum class Operand : uint8_t { none, byte, word };

struct OpText {
    const char* text; // whole text, or the prefix before the operand
    Operand operand;
    uint8_t length;  // of text
    char field[16];  // text filled with blanks to 16: the log row's field, operand still to come
};

constexpr const char* regname[8] = {"B", "C", "D", "E", "H", "L", "M", "A"};

// The 256 texts, built once from the regular groups and the table of the rest.
std::array<OpText, 256> buildtable()
{
    static std::array<std::string, 256> storage;
    std::array<OpText, 256> t{};
    auto set = [&](int op, std::string s, Operand o) {
        storage[op] = std::move(s);
        // The longest text with its operand, "LXI SP,0FFFFH", fits the field of 16.
        t[op] = {storage[op].c_str(), o, static_cast<uint8_t>(storage[op].size()), {}};
        std::memset(t[op].field, ' ', sizeof t[op].field);
        std::memcpy(t[op].field, storage[op].data(), storage[op].size());
    };
    for (int op = 0; op < 256; ++op)
        set(op, "UNRECOGNIZED", Operand::none);
    for (int d = 0; d < 8; ++d)
        for (int s = 0; s < 8; ++s)
            if (!(d == 6 && s == 6))
                set(0x40 + d * 8 + s, std::string("MOV ") + regname[d] + "," + regname[s], Operand::none);
    set(0x76, "HLT", Operand::none);
    static const char* alu[8] = {"ADD ", "ADC ", "SUB ", "SBB ", "ANA ", "XRA ", "ORA ", "CMP "};
    static const char* alui[8] = {"ADI ", "ACI ", "SUI ", "SBI ", "ANI ", "XRI ", "ORI ", "CPI "};
    for (int g = 0; g < 8; ++g) {
        for (int s = 0; s < 8; ++s)
            set(0x80 + g * 8 + s, std::string(alu[g]) + regname[s], Operand::none);
        set(0xC6 + g * 8, alui[g], Operand::byte);
        set(0xC7 + g * 8, "RST " + std::to_string(g), Operand::none);
    }
    for (int r = 0; r < 8; ++r) {
        set(0x04 + r * 8, std::string("INR ") + regname[r], Operand::none);
        set(0x05 + r * 8, std::string("DCR ") + regname[r], Operand::none);
        set(0x06 + r * 8, std::string("MVI ") + regname[r] + ",", Operand::byte);
    }
    static const char* rp[4] = {"B", "D", "H", "SP"};
    static const char* rpp[4] = {"B", "D", "H", "PSW"};
    for (int p = 0; p < 4; ++p) {
        set(0x01 + p * 16, std::string("LXI ") + rp[p] + ",", Operand::word);
        set(0x03 + p * 16, std::string("INX ") + rp[p], Operand::none);
        set(0x09 + p * 16, std::string("DAD ") + rp[p], Operand::none);
        set(0x0B + p * 16, std::string("DCX ") + rp[p], Operand::none);
        set(0xC1 + p * 16, std::string("POP ") + rpp[p], Operand::none);
        set(0xC5 + p * 16, std::string("PUSH ") + rpp[p], Operand::none);
    }
    static const char* cond[8] = {"NZ", "Z", "NC", "C", "PO", "PE", "P", "M"};
    for (int c = 0; c < 8; ++c) {
        set(0xC0 + c * 8, std::string("R") + cond[c], Operand::none);
        set(0xC2 + c * 8, std::string("J") + cond[c] + " ", Operand::word);
        set(0xC4 + c * 8, std::string("C") + cond[c] + " ", Operand::word);
    }
    struct Fixed {
        int op;
        const char* text;
        Operand o;
    };
    static const Fixed fixed[] = {
        {0x00, "NOP", Operand::none},   {0x02, "STAX B", Operand::none}, {0x12, "STAX D", Operand::none},
        {0x0A, "LDAX B", Operand::none}, {0x1A, "LDAX D", Operand::none}, {0x07, "RLC", Operand::none},
        {0x0F, "RRC", Operand::none},   {0x17, "RAL", Operand::none},    {0x1F, "RAR", Operand::none},
        {0x20, "RIM", Operand::none},   {0x30, "SIM", Operand::none},    {0x22, "SHLD ", Operand::word},
        {0x2A, "LHLD ", Operand::word}, {0x32, "STA ", Operand::word},   {0x3A, "LDA ", Operand::word},
        {0x27, "DAA", Operand::none},   {0x2F, "CMA", Operand::none},    {0x37, "STC", Operand::none},
        {0x3F, "CMC", Operand::none},   {0xC3, "JMP ", Operand::word},   {0xC9, "RET", Operand::none},
        {0xCD, "CALL ", Operand::word}, {0xD3, "OUT ", Operand::byte},   {0xDB, "IN ", Operand::byte},
        {0xE3, "XTHL", Operand::none},  {0xE9, "PCHL", Operand::none},   {0xEB, "XCHG", Operand::none},
        {0xF3, "DI", Operand::none},    {0xF9, "SPHL", Operand::none},   {0xFB, "EI", Operand::none},
    };
    for (const auto& f : fixed)
        set(f.op, f.text, f.o);
    return t;
}

const std::array<OpText, 256>& table()
{
    static const std::array<OpText, 256> t = buildtable();
    return t;
}

// The operand in the assembler's form ("0FFH", "1234H"), or through hexword for the executed CZ.
char* putoperand(char* p, Operand o, int32_t byte1, int32_t byte2, bool plainword)
{
    if (o == Operand::byte) {
        if (((byte1 >> 4) & 15) > 9)
            *p++ = '0';
        p = puthexbyte(p, byte1);
    } else {
        const auto w = static_cast<int32_t>((static_cast<uint32_t>(byte2) * 256u + static_cast<uint32_t>(byte1)) & 0xFFFFu);
        if (!plainword && (w >> 12) > 9)
            *p++ = '0';
        p = puthexword(p, w);
    }
    *p++ = 'H';
    return p;
}

char* puttext(char* out, int32_t opcode, int32_t byte1, int32_t byte2, bool czhexword)
{
    const int op = opcode & 0xFF;
    const OpText& t = table()[static_cast<size_t>(op)];
    std::memcpy(out, t.text, t.length);
    if (t.operand == Operand::none)
        return out + t.length;
    return putoperand(out + t.length, t.operand, byte1, byte2, czhexword && op == 0xCC);
}

std::string compose(int32_t opcode, int32_t byte1, int32_t byte2, bool czhexword)
{
    char buf[InstrText::fieldmax];
    return std::string(buf, puttext(buf, opcode, byte1, byte2, czhexword));
}

} // namespace

std::string instructiontext(int32_t opcode, int32_t byte1, int32_t byte2)
{
    return compose(opcode, byte1, byte2, false);
}

std::string executedtext(int32_t opcode, int32_t byte1, int32_t byte2)
{
    return compose(opcode, byte1, byte2, true);
}

std::string InstrText::str() const
{
    switch (kind_) {
    case Kind::word:
        return word_;
    case Kind::executed:
        return executedtext(op_, b1_, b2_);
    case Kind::next:
        return instructiontext(op_, b1_, b2_);
    }
    return {};
}

char* InstrText::putfield(char* out) const
{
    if (kind_ == Kind::word) {
        size_t n = 0;
        while (n < fieldmax && word_[n] != '\0')
            ++n;
        std::memcpy(out, word_, n);
        if (n >= 16)
            return out + n;
        std::memset(out + n, ' ', 16 - n);
        return out + 16;
    }
    const int op = op_ & 0xFF;
    const OpText& t = table()[static_cast<size_t>(op)];
    std::memcpy(out, t.field, sizeof t.field);
    if (t.operand != Operand::none)
        putoperand(out + t.length, t.operand, b1_, b2_, kind_ == Kind::executed && op == 0xCC);
    return out + 16;
}

} // namespace kelvane
