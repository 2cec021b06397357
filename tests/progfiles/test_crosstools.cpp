// Intel HEX exchanged with other tools: files written by srec_cat and objcopy load, and ours are
// read by them byte for byte. A case is skipped when its tool is not installed.
#include "tests/common/tempfolder.h"
#include "progfiles/hexfile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>

using namespace kelvane;

namespace {

bool hastool(const std::string& name) { return std::system(("command -v " + name + " >/dev/null").c_str()) == 0; }

int run(const test::TempFolder& w, const std::string& command)
{
    return std::system(("cd '" + w.path.string() + "' && " + command + " >tool.log 2>&1").c_str());
}

std::vector<uint8_t> randombytes(size_t n, unsigned seed)
{
    std::mt19937 rng(seed);
    std::vector<uint8_t> s(n);
    for (uint8_t& c : s)
        c = static_cast<uint8_t>(rng());
    return s;
}

} // namespace

TEST(CrossTools, OurHexIsReadByObjcopyAndSrecCat)
{
    test::TempFolder w;
    int checked = 0;
    for (int32_t last : {0x4200, 0xFFFF, 0x02BC}) {
        // Code at 0, gaps of zero chunks (which get no record), a last byte that is not zero.
        std::vector<int32_t> mem(65536, 0);
        const auto a = randombytes(700, 1), b = randombytes(333, 2);
        std::copy(a.begin(), a.end(), mem.begin());
        std::copy(b.begin(), b.end(), mem.begin() + 0x4000);
        mem[static_cast<size_t>(last)] = 0x76;
        ASSERT_TRUE(writehexfile(mem.data(), last, w.at("ours.hex")));
        const std::string want(mem.begin(), mem.begin() + last + 1);
        for (const auto& [tool, command] : {std::pair{"objcopy", "objcopy -I ihex -O binary ours.hex back.bin"},
                                            std::pair{"srec_cat", "srec_cat ours.hex -Intel -o back.bin -Binary"}}) {
            if (!hastool(tool))
                continue;
            ASSERT_EQ(run(w, command), 0) << test::slurp(w.at("tool.log"));
            EXPECT_TRUE(test::slurp(w.at("back.bin")) == want) << tool << " " << last;
            ++checked;
        }
    }
    if (checked == 0)
        GTEST_SKIP() << "neither objcopy nor srec_cat is installed";
}

TEST(CrossTools, TheirHexLoads)
{
    const struct {
        const char* tool;
        const char* options; // how in.bin becomes out.hex
        int32_t base;        // where the bytes land; -1: refused with "Address out of range." on line 2
    } cases[] = {
        {"objcopy", "-I binary -O ihex in.bin out.hex", 0},
        {"objcopy", "-I binary -O ihex --change-section-address .data=0xB000 in.bin out.hex", 0xB000},
        {"objcopy", "-I binary -O ihex --change-section-address .data=0x20000 in.bin out.hex", -1},
        {"srec_cat", "in.bin -Binary -o out.hex -Intel", 0}, // 32-byte records, linear 0000
        {"srec_cat", "in.bin -Binary -offset 0xE000 -o out.hex -Intel", 0xE000},
        {"srec_cat", "in.bin -Binary -offset 0x1000 -o out.hex -Intel -address-length=2", 0x1000},
        {"srec_cat", "in.bin -Binary -offset 0x0800 -o out.hex -Intel -Output_Block_Size=255", 0x0800},
        {"srec_cat", "in.bin -Binary -offset 0x0800 -o out.hex -Intel -Output_Block_Size=1", 0x0800},
        {"srec_cat", "in.bin -Binary -offset 0x10000 -o out.hex -Intel", -1},
    };
    test::TempFolder w;
    const auto bytes = randombytes(3000, 4);
    w.put("in.bin", std::string(bytes.begin(), bytes.end()));
    for (const auto& c : cases) {
        if (!hastool(c.tool))
            continue;
        SCOPED_TRACE(std::string(c.tool) + " " + c.options);
        ASSERT_EQ(run(w, std::string(c.tool) + " " + c.options), 0) << test::slurp(w.at("tool.log"));
        auto buf = std::make_unique<HexBuffer>();
        const HexReadResult r = readhexfile(w.at("out.hex"), *buf);
        if (c.base < 0) {
            EXPECT_EQ(std::pair(r.error, r.line), std::pair(10, 2)) << r.message;
            continue;
        }
        ASSERT_EQ(r.error, 0) << r.message;
        ASSERT_EQ(r.size, c.base + static_cast<int32_t>(bytes.size()));
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), buf->begin() + c.base));
        EXPECT_EQ(std::count(buf->begin(), buf->begin() + c.base, 0), c.base);
    }
}
