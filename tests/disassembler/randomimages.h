// Random program images for the disassembler tests: plain random bytes, and images thick with
// jumps and calls whose targets fall in or just behind the program, so that labels land on
// rows, inside instructions and past the end.
#pragma once
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

namespace kelvane::test {

inline std::vector<uint8_t> randomimage(std::mt19937& rng, size_t size, bool jumpheavy)
{
    static const uint8_t jumps[] = {0xC3, 0xC2, 0xCA, 0xD2, 0xDA, 0xE2, 0xEA, 0xF2, 0xFA,
                                    0xCD, 0xC4, 0xCC, 0xD4, 0xDC, 0xE4, 0xEC, 0xF4, 0xFC};
    std::vector<uint8_t> img(size);
    for (auto& b : img)
        b = static_cast<uint8_t>(rng());
    if (jumpheavy) {
        for (size_t a = 0; a < size; ++a) {
            if (rng() % 3 != 0)
                continue;
            img[a] = jumps[rng() % std::size(jumps)];
            const uint32_t target = static_cast<uint32_t>(rng() % (size + 4));
            if (a + 1 < size)
                img[a + 1] = static_cast<uint8_t>(target & 0xFF);
            if (a + 2 < size)
                img[a + 2] = static_cast<uint8_t>(target >> 8);
        }
    }
    return img;
}

// Rounds and seed of the random tests; KELVANE_DASM_ROUNDS and KELVANE_DASM_SEED change them
// for a longer run by hand.
inline int randomrounds(int defaultrounds)
{
    const char* v = std::getenv("KELVANE_DASM_ROUNDS");
    return v && std::atoi(v) > 0 ? std::atoi(v) : defaultrounds;
}
inline uint32_t randomseed(uint32_t defaultseed)
{
    const char* v = std::getenv("KELVANE_DASM_SEED");
    return v ? static_cast<uint32_t>(std::strtoul(v, nullptr, 10)) : defaultseed;
}

inline size_t randomsize(std::mt19937& rng)
{
    switch (rng() % 4) {
    case 0:
        return 1 + rng() % 8;
    case 1:
        return 1 + rng() % 300;
    case 2:
        return 1 + rng() % 4000;
    default:
        return 1 + rng() % 65536;
    }
}

} // namespace kelvane::test
