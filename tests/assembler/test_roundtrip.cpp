#include "asmtesthelp.h"
#include "assembler/asmtable.h"
#include "core/hexutil.h"

#include <gtest/gtest.h>

#include <random>

namespace {

// The operand in one of the literal forms the assembler reads.
std::string operandtext(int32_t v, int bytes, std::mt19937& rng)
{
    switch (rng() % 5) {
    case 0:
        return std::to_string(v);
    case 1: {
        std::string h = bytes == 1 ? kelvane::asmhexbyte(v) : kelvane::asmhexword(v);
        return h + (rng() % 2 ? "H" : "h");
    }
    case 2: {
        std::string b;
        for (int k = bytes * 8 - 1; k >= 0; --k)
            b += ((v >> k) & 1) ? '1' : '0';
        return b + "B";
    }
    case 3:
        if (bytes == 1 && v >= 32 && v < 127 && v != '\'' && v != ';' && v != ',')
            return std::string("'") + static_cast<char>(v) + "'";
        return std::to_string(v);
    default:
        // A value written as a difference that lands on it.
        return std::to_string(v + 7) + " - 7";
    }
}

TEST(RoundTrip, RandomInstructionStreamsAssembleToTheirBytes)
{
    std::mt19937 rng(20251122);
    for (int round = 0; round < 200; ++round) {
        std::vector<int32_t> bytes;
        std::string source;
        const int32_t origin = static_cast<int32_t>(rng() % 0xF000);
        source += "\t.ORG " + kelvane::asmhexword(origin) + "H\r\n";
        const int count = 1 + static_cast<int>(rng() % 60);
        for (int n = 0; n < count; ++n) {
            const kelvane::AsmTemplate* t = nullptr;
            while (t == nullptr)
                t = kelvane::templateofopcode(static_cast<int32_t>(rng() % 256));
            bytes.push_back(t->opcode);
            std::string text = t->text;
            if (rng() % 4 == 0) {
                for (char& c : text)
                    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            }
            if (t->size > 1) {
                const int32_t v = static_cast<int32_t>(rng() % (t->size == 2 ? 256 : 65536));
                bytes.push_back(v & 255);
                if (t->size == 3)
                    bytes.push_back(v >> 8);
                text.replace(text.find('*'), 1, operandtext(v, t->size - 1, rng));
            }
            if (rng() % 5 == 0)
                source += "L" + std::to_string(n) + ":";
            source += "\t" + text + (rng() % 3 == 0 ? "\t; note\r\n" : "\r\n");
        }
        kelvane::Assembler a;
        a.assembletext(source, 1000);
        ASSERT_EQ(a.errorcount, 0) << source << a.listing;
        ASSERT_EQ(a.lastaddress, origin + static_cast<int32_t>(bytes.size()) - 1);
        for (size_t k = 0; k < bytes.size(); ++k)
            ASSERT_EQ(a.objimage[static_cast<size_t>(origin) + k], bytes[k]) << source << "byte " << k;
    }
}

} // namespace
