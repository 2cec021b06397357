// The source form assembled by our own assembler gives back the image's bytes, over random
// images of all sizes and every opcode at its operand edges.
#ifdef KELVANE_HAVE_ASSEMBLER
#include "testutil.h"

#include "assembler/assembler.h"

namespace kelvane {
namespace {

// Assembles the source form of img and checks the bytes: equal up to the image's end, zeros
// behind it up to the end of the sweep (a last instruction may straddle the end), nothing further.
void roundtrip(const std::vector<uint8_t>& img, const std::filesystem::path& folder, const std::string& context)
{
    const std::string source = test::disassemblebytes(img, true, folder);
    Assembler a;
    ASSERT_EQ(a.assembletext(source, 1000), 0)
        << context << ": line " << a.errors()[0].line << ": " << a.errors()[0].message;
    Disassembler d;
    d.loadimage(img.data(), img.size());
    while (d.dasmaddress < d.dasmsize) {
        d.decodeinstruction(true);
        d.dasmaddress += d.dasmlength;
    }
    ASSERT_EQ(a.lastaddress + 1, d.dasmaddress) << context;
    for (size_t k = 0; k < static_cast<size_t>(d.dasmaddress); ++k)
        ASSERT_EQ(a.objimage[k], k < img.size() ? img[k] : 0) << context << ": byte " << k;
}

TEST(DasmRoundTrip, RandomImagesAssembleBackToTheSameBytes)
{
    std::mt19937 rng(8085);
    test::TempFolder dir;
    for (int round = 0; round < 150 && !HasFatalFailure(); ++round) {
        const size_t size = test::randomsize(rng);
        roundtrip(test::randomimage(rng, size, rng() % 2 == 0), dir.path, "round " + std::to_string(round));
    }
}

TEST(DasmRoundTrip, EveryOpcodeAtEveryOperandEdge)
{
    // Each opcode with operand bytes 00 00, FF FF, 0A 0A and 9F F0, and as the program's last
    // byte (its operands then come from the zeros behind the image).
    test::TempFolder dir;
    for (int op = 0; op < 256 && !HasFatalFailure(); ++op) {
        for (const auto& tail : std::vector<std::vector<uint8_t>>{{0, 0}, {0xFF, 0xFF}, {0x0A, 0x0A}, {0x9F, 0xF0}, {}}) {
            std::vector<uint8_t> img = {0x00, static_cast<uint8_t>(op)};
            img.insert(img.end(), tail.begin(), tail.end());
            roundtrip(img, dir.path, "opcode " + std::to_string(op));
        }
    }
}

} // namespace
} // namespace kelvane
#endif
