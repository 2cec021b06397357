// Helpers of the disassembler tests: a one-call run that returns the result text, and random
// program images.
#pragma once
#include "disassembler/disassembler.h"
#include "tests/common/tempfolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace kelvane::test {

// Disassembles bytes with engine d (a fresh one when none is given) and returns the result text.
inline std::string disassemblebytes(const std::vector<uint8_t>& bytes, bool sourceform,
                                    const std::filesystem::path& folder, Disassembler* d = nullptr)
{
    Disassembler fresh;
    Disassembler& e = d ? *d : fresh;
    e.workfolder = folder;
    e.loadimage(bytes.data(), bytes.size());
    EXPECT_TRUE(e.disassemble(true, sourceform)) << e.dasmerror;
    std::string text;
    EXPECT_TRUE(e.takeresult(text));
    return text;
}

// Sizes from a few bytes to a whole 64K.
inline size_t randomsize(std::mt19937& rng)
{
    static const uint32_t limits[] = {8, 300, 4000, 65536};
    const uint32_t limit = limits[rng() % 4];
    return 1 + rng() % limit;
}

// Random bytes; jump-heavy images are thick with jumps and calls whose targets fall in or just
// behind the program, so that labels land on rows, inside instructions and past the end.
inline std::vector<uint8_t> randomimage(std::mt19937& rng, size_t size, bool jumpheavy)
{
    static const uint8_t jumps[] = {0xC3, 0xC2, 0xCA, 0xD2, 0xDA, 0xE2, 0xEA, 0xF2, 0xFA,
                                    0xCD, 0xC4, 0xCC, 0xD4, 0xDC, 0xE4, 0xEC, 0xF4, 0xFC};
    std::vector<uint8_t> img(size);
    for (auto& b : img)
        b = static_cast<uint8_t>(rng());
    for (size_t a = 0; jumpheavy && a < size; ++a) {
        if (rng() % 3 != 0)
            continue;
        img[a] = jumps[rng() % std::size(jumps)];
        const uint32_t target = static_cast<uint32_t>(rng() % (size + 4));
        if (a + 1 < size)
            img[a + 1] = static_cast<uint8_t>(target & 0xFF);
        if (a + 2 < size)
            img[a + 2] = static_cast<uint8_t>(target >> 8);
    }
    return img;
}

} // namespace kelvane::test
