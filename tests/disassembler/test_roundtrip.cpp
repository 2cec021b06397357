// The source form assembled by our own assembler gives back the image's bytes, over random
// images of all sizes and through the files the assembler writes.
#ifdef KELVANE_HAVE_ASSEMBLER
#include "randomimages.h"
#include "testutil.h"

#include "assembler/assembler.h"

#include <fstream>

namespace kelvane {
namespace {

// Where the sweep ends: the image's end, or past it when the last instruction straddles it.
size_t sweepend(const std::vector<uint8_t>& img)
{
    Disassembler d;
    d.loadimage(img.data(), img.size());
    while (d.dasmaddress < d.dasmsize) {
        d.decodeinstruction(true);
        d.dasmaddress += d.dasmlength;
    }
    return static_cast<size_t>(d.dasmaddress);
}

// Checks the assembled image against the program: equal bytes up to its end, zeros behind it
// up to the sweep's end, and nothing further.
void expectsamebytes(const Assembler& a, const std::vector<uint8_t>& img, const std::string& context)
{
    const size_t end = sweepend(img);
    ASSERT_EQ(a.lastaddress + 1, static_cast<int32_t>(end)) << context;
    for (size_t k = 0; k < end; ++k) {
        const int32_t want = k < img.size() ? img[k] : 0;
        if (a.objimage[k] != want) {
            FAIL() << context << ": byte " << k << " is " << a.objimage[k] << ", expected " << want;
        }
    }
}

std::string firsterrors(const Assembler& a)
{
    std::string s;
    int shown = 0;
    for (const AsmError& e : a.errors()) {
        if (shown++ == 5)
            break;
        s += "line " + std::to_string(e.line) + " [" + a.asmsource[static_cast<size_t>(e.line)] + "]: " + e.message + "\n";
    }
    return s;
}

TEST(DasmRoundTrip, RandomImagesAssembleBackToTheSameBytes)
{
    std::mt19937 rng(test::randomseed(8085));
    test::WorkFolder dir;
    for (int round = 0; round < test::randomrounds(150); ++round) {
        const size_t size = test::randomsize(rng);
        const std::vector<uint8_t> img = test::randomimage(rng, size, rng() % 2 == 0);
        const std::string source = test::disassemblebytes(img, true, dir.path());
        Assembler a;
        const std::string context = "round " + std::to_string(round) + ", size " + std::to_string(size);
        ASSERT_EQ(a.assembletext(source, 1000), 0) << context << "\n" << firsterrors(a);
        expectsamebytes(a, img, context);
        if (HasFatalFailure())
            return;
    }
}

TEST(DasmRoundTrip, EveryOpcodeAtEveryOperandEdge)
{
    // Each opcode with operand bytes 00 00, FF FF, 0A 0A and 9F F0, and each as the program's
    // last byte (its operands then come from the zeros behind the image).
    test::WorkFolder dir;
    for (int op = 0; op < 256; ++op) {
        for (const auto& tail : std::vector<std::vector<uint8_t>>{{0x00, 0x00}, {0xFF, 0xFF}, {0x0A, 0x0A}, {0x9F, 0xF0}, {}}) {
            std::vector<uint8_t> img = {0x00, static_cast<uint8_t>(op)};
            img.insert(img.end(), tail.begin(), tail.end());
            const std::string source = test::disassemblebytes(img, true, dir.path());
            Assembler a;
            const std::string context = "opcode " + std::to_string(op);
            ASSERT_EQ(a.assembletext(source, 1000), 0) << context << "\n" << firsterrors(a) << source;
            expectsamebytes(a, img, context);
        }
    }
}

TEST(DasmRoundTrip, ThroughTheAssemblerFiles)
{
    // The 64K image of the benchmark's kind: the source as a file, BASE.obj back.
    std::mt19937 rng(4);
    test::WorkFolder dir;
    const std::vector<uint8_t> img = test::randomimage(rng, 65536, true);
    const std::string source = test::disassemblebytes(img, true, dir.path());
    std::ofstream(dir.path() / "prog.asm", std::ios::binary) << source;
    Assembler a;
    int32_t status = 0;
    ASSERT_TRUE(a.assemblefile(dir.path().string() + "/", "prog.asm", status)) << a.fileerror;
    ASSERT_EQ(status, 0) << firsterrors(a);
    std::ifstream in(dir.path() / "prog.obj", std::ios::binary);
    const std::string obj((std::istreambuf_iterator<char>(in)), {});
    ASSERT_GE(obj.size(), img.size());
    EXPECT_TRUE(std::equal(img.begin(), img.end(), reinterpret_cast<const uint8_t*>(obj.data())));
}

} // namespace
} // namespace kelvane
#endif
