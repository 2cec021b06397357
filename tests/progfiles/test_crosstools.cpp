// Intel HEX exchanged with other tools: files written by srec_cat and objcopy load, and ours are
// read by them byte for byte. Each test is skipped when its tool is not installed.
#include "progfiles/hexfile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>

using namespace kelvane;
namespace fs = std::filesystem;

namespace {

bool hastool(const std::string& name)
{
    const char* path = std::getenv("PATH");
    std::stringstream dirs(path != nullptr ? path : "/usr/bin:/bin");
    std::string dir;
    std::error_code ec;
    while (std::getline(dirs, dir, ':'))
        if (!dir.empty() && fs::exists(fs::path(dir) / name, ec))
            return true;
    return false;
}

#define NEED_TOOL(name)                                                                                      \
    if (!hastool(name))                                                                                      \
    GTEST_SKIP() << name << " is not installed"

struct Work {
    fs::path dir;
    Work()
    {
        dir = fs::temp_directory_path() / ("kelvane-xt-" + std::to_string(::getpid()) + "-" +
                                           ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir);
        fs::create_directories(dir);
    }
    ~Work() { fs::remove_all(dir); }
    std::string at(const std::string& name) const { return (dir / name).string(); }
    int run(const std::string& command) const
    {
        return std::system(("cd '" + dir.string() + "' && " + command + " >tool.log 2>&1").c_str());
    }
};

std::string slurp(const std::string& p)
{
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string randombytes(size_t n, unsigned seed)
{
    std::mt19937 rng(seed);
    std::string s(n, '\0');
    for (char& c : s)
        c = static_cast<char>(rng() & 255);
    return s;
}

// A memory with code at 0, gaps of zero chunks, and a last byte that is not zero.
std::vector<int32_t> samplememory(int32_t last)
{
    std::vector<int32_t> mem(65536, 0);
    const std::string a = randombytes(700, 1), b = randombytes(333, 2);
    for (size_t i = 0; i < a.size(); ++i)
        mem[i] = static_cast<uint8_t>(a[i]);
    for (size_t i = 0; i < b.size(); ++i)
        mem[0x4000 + i] = static_cast<uint8_t>(b[i]);
    mem[0] = 0x31;
    mem[static_cast<size_t>(last)] = 0x76;
    return mem;
}

std::string imagebytes(const std::vector<int32_t>& mem, int32_t last)
{
    std::string s;
    for (int32_t i = 0; i <= last; ++i)
        s += static_cast<char>(mem[static_cast<size_t>(i)]);
    return s;
}

void expectloaded(const std::string& hexpath, const std::string& bytes, int32_t base)
{
    auto buf = std::make_unique<HexBuffer>();
    const HexReadResult r = readhexfile(hexpath, *buf);
    ASSERT_EQ(r.error, 0) << r.message << "\n" << slurp(hexpath).substr(0, 400);
    ASSERT_EQ(r.size, base + static_cast<int32_t>(bytes.size()));
    for (size_t i = 0; i < bytes.size(); ++i)
        ASSERT_EQ((*buf)[static_cast<size_t>(base) + i], static_cast<uint8_t>(bytes[i])) << i;
    for (int32_t i = 0; i < base; ++i)
        ASSERT_EQ((*buf)[static_cast<size_t>(i)], 0);
}

} // namespace

TEST(CrossTools, OurHexIsReadByObjcopyAndSrecCat)
{
    for (int32_t last : {0x4200, 0xFFFF, 0x02BC}) {
        Work w;
        const std::vector<int32_t> mem = samplememory(last);
        ASSERT_TRUE(writehexfile(mem.data(), last, w.at("ours.hex")));
        const std::string want = imagebytes(mem, last);
        if (hastool("objcopy")) {
            ASSERT_EQ(w.run("objcopy -I ihex -O binary ours.hex objcopy.bin"), 0) << slurp(w.at("tool.log"));
            EXPECT_EQ(slurp(w.at("objcopy.bin")), want) << last;
        }
        if (hastool("srec_cat")) {
            ASSERT_EQ(w.run("srec_cat ours.hex -Intel -o srec.bin -Binary"), 0) << slurp(w.at("tool.log"));
            EXPECT_EQ(slurp(w.at("srec.bin")), want) << last;
        }
    }
    if (!hastool("objcopy") && !hastool("srec_cat"))
        GTEST_SKIP() << "neither objcopy nor srec_cat is installed";
}

TEST(CrossTools, ObjcopyHexLoads)
{
    NEED_TOOL("objcopy");
    Work w;
    const std::string bytes = randombytes(5000, 3);
    std::ofstream(w.at("in.bin"), std::ios::binary) << bytes;
    ASSERT_EQ(w.run("objcopy -I binary -O ihex in.bin at0.hex"), 0);
    expectloaded(w.at("at0.hex"), bytes, 0);
    ASSERT_EQ(w.run("objcopy -I binary -O ihex --change-section-address .data=0xB000 in.bin atb.hex"), 0);
    expectloaded(w.at("atb.hex"), bytes, 0xB000);

    // Above 64K objcopy uses a segment record; the reader refuses the address.
    ASSERT_EQ(w.run("objcopy -I binary -O ihex --change-section-address .data=0x20000 in.bin high.hex"), 0);
    auto buf = std::make_unique<HexBuffer>();
    const HexReadResult r = readhexfile(w.at("high.hex"), *buf);
    EXPECT_EQ(r.error, 10) << r.message;
}

TEST(CrossTools, SrecCatHexLoads)
{
    NEED_TOOL("srec_cat");
    Work w;
    const std::string bytes = randombytes(3000, 4);
    std::ofstream(w.at("in.bin"), std::ios::binary) << bytes;
    const struct {
        const char* options;
        int32_t base;
    } cases[] = {
        {"-o out.hex -Intel", 0},                                    // 32-byte records, linear 0000
        {"-offset 0xE000 -o out.hex -Intel", 0xE000},
        {"-offset 0x1000 -o out.hex -Intel -address-length=2", 0x1000}, // no extended record
        {"-offset 0x0800 -o out.hex -Intel -Output_Block_Size=255", 0x0800},
        {"-offset 0x0800 -o out.hex -Intel -Output_Block_Size=1", 0x0800},
    };
    for (const auto& c : cases) {
        ASSERT_EQ(w.run(std::string("srec_cat in.bin -Binary ") + c.options), 0)
            << c.options << "\n" << slurp(w.at("tool.log"));
        expectloaded(w.at("out.hex"), bytes, c.base);
    }
    ASSERT_EQ(w.run("srec_cat in.bin -Binary -offset 0x10000 -o out.hex -Intel"), 0);
    auto buf = std::make_unique<HexBuffer>();
    const HexReadResult r = readhexfile(w.at("out.hex"), *buf);
    EXPECT_EQ(r.error, 10) << r.message;
    EXPECT_EQ(r.line, 2) << slurp(w.at("out.hex")).substr(0, 60);
}
