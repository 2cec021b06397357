// Whole result texts of random images in both forms against the recorded hashes (the hand-made
// programs' texts are compared through kelvane-cli); the top of a full 64K image.
#include "testutil.h"

#include <fstream>
#include <sstream>

namespace kelvane {
namespace {

using test::disassemblebytes;

uint64_t fnv1a(const std::string& s)
{
    uint64_t h = 1469598103934665603ull;
    for (unsigned char c : s)
        h = (h ^ c) * 1099511628211ull;
    return h;
}

TEST(DasmOutput, RandomImagesGiveTheRecordedTexts)
{
    // random.txt: round, size, jump-heavy, hashes of both forms; one engine for every image, so
    // that a label table left from the image before shows.
    std::ifstream in(KELVANE_TEST_DATA "/disassembler/random.txt");
    ASSERT_TRUE(in);
    std::mt19937 rng(20251122);
    test::TempFolder dir;
    Disassembler engine;
    int rounds = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with("#"))
            continue;
        std::istringstream words(line);
        int round = 0, jumpheavy = 0;
        size_t size = 0;
        std::string hashes[2];
        words >> round >> size >> jumpheavy >> hashes[0] >> hashes[1];
        const size_t mysize = test::randomsize(rng);
        const bool myjumpheavy = rng() % 2 == 0;
        ASSERT_EQ(std::pair(mysize, myjumpheavy), std::pair(size, jumpheavy != 0)) << "image generator changed";
        const std::vector<uint8_t> img = test::randomimage(rng, size, myjumpheavy);
        for (bool src : {false, true}) {
            char got[17];
            std::snprintf(got, sizeof got, "%016llx",
                          static_cast<unsigned long long>(fnv1a(disassemblebytes(img, src, dir.path, &engine))));
            EXPECT_EQ(got, hashes[src]) << "round " << round << (src ? " source" : " listing");
        }
        ++rounds;
    }
    EXPECT_EQ(rounds, 150);
}

TEST(DasmOutput, FullImageEndsAtTheTopAndLineNumbersWrap)
{
    // 65536 bytes: NOPs, with a JMP in the last byte that reads the zeros behind the image.
    std::vector<uint8_t> image(65536, 0);
    image[0xFFFF] = 0xC3;
    test::TempFolder dir;
    const std::string text = disassemblebytes(image, false, dir.path);
    EXPECT_NE(text.find("\n9999   270E 00                  NOP\n0000   270F 00                  NOP\n"),
              std::string::npos);
    EXPECT_NE(text.find("\n5536   FFFF C3 00 00            JMP L0001\n\n"), std::string::npos);
    EXPECT_NE(text.find("\n0001   0000 00          L0001:  NOP\n"), std::string::npos);
    EXPECT_TRUE(text.ends_with("\nL0001:  0000            L0001:  0000\n"));
}

TEST(DasmOutput, SweepStopsAtTheSizeAndReadsClearedElementsBehind)
{
    // The bytes behind dasmsize are not rows, even when the image holds something there.
    test::TempFolder dir;
    Disassembler d;
    d.workfolder = dir.path;
    std::fill(d.dasmimage.begin(), d.dasmimage.end(), 0x55);
    d.dasmimage[0] = 0x00;
    d.dasmimage[1] = 0x3E;
    d.dasmsize = 2;
    std::string text;
    ASSERT_TRUE(d.disassemble(true, false) && d.takeresult(text));
    EXPECT_TRUE(text.ends_with("\n0001   0000 00                  NOP\n0002   0001 3E 55               MVI A,55H\n"));

    // A memory whose top byte starts a CALL: the operands come from the cleared elements behind
    // 64K, not from the leftovers above.
    std::vector<int32_t> mem(65536, 0);
    mem[0] = 0x76;
    mem[0xFFFF] = 0xCD;
    d.loadmemory(mem.data(), 65536);
    ASSERT_TRUE(d.disassemble(true, true) && d.takeresult(text));
    EXPECT_NE(text.find("\nL0001:  HLT\n        NOP\n"), std::string::npos);
    EXPECT_NE(text.find("\n        NOP\n        CALL L0001\n\n;---"), std::string::npos);
}

} // namespace
} // namespace kelvane
