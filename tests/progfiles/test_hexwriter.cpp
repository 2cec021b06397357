// The record writer and the safe save: exact records, skipped chunks, a failed write that keeps the old file.
#include "tests/common/tempfolder.h"
#include "progfiles/hexfile.h"
#include "progfiles/safewrite.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>

using namespace kelvane;
namespace fs = std::filesystem;

TEST(HexWriter, RecordsChunksAndEnd)
{
    const std::string z30(30, '0');
    const struct {
        std::vector<std::pair<int32_t, int32_t>> bytes;
        int32_t last;
        std::string want;
    } cases[] = {
        {{{0, 0x3E}, {1, 0x05}}, 1, ":020000003E05BB\r\n"},
        // The full zero chunk at 0000 gets no record; the short last chunk keeps its zeros.
        {{{0x12, 0xAA}}, 0x13, ":040010000000AA0042\r\n"},
        {{{0x10, 0x1FF}}, 0x10, ":01001000FFF0\r\n"}, // the low 8 bits of an element
        {{{0xFFFF, 0x01}}, 0xFFFF, ":10FFF000" + z30 + "0100\r\n"}, // checksum 00
        {{{0x5, 0x01}}, 0x1F, ":10000000" + std::string(10, '0') + "01" + std::string(20, '0') + "EF\r\n"},
        {{}, 0x0F, ""},
        {{}, 0x00, ":0100000000FF\r\n"},
    };
    for (const auto& c : cases) {
        std::vector<int32_t> mem(65536, 0);
        for (auto [a, v] : c.bytes)
            mem[static_cast<size_t>(a)] = v;
        EXPECT_EQ(hexfiletext(mem.data(), c.last), c.want + ":00000001FF\r\n") << c.last;
    }
}

TEST(SafeWrite, FailedWriteKeepsTheOldFileAndLeavesNoTemporary)
{
    test::TempFolder dir;
    const std::string target = dir.put("prog.hex", "old contents\n");
    std::vector<int32_t> mem(65536, 0x5A);
    // A file size limit makes the write itself fail, whoever runs the test.
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    rlimit small = old;
    small.rlim_cur = 1000;
    auto previous = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    std::string error;
    const bool ok = writehexfile(mem.data(), 65535, target, &error);
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, previous);
    EXPECT_FALSE(ok);
    EXPECT_NE(error.find(target), std::string::npos) << error;
    EXPECT_EQ(test::slurp(target), "old contents\n");
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"prog.hex"});
    // A successful write replaces the old file and keeps its permissions.
    const auto perms = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
    fs::permissions(target, perms);
    ASSERT_TRUE(writeobjfile(mem.data(), 3, target));
    EXPECT_EQ(test::slurp(target), "ZZZZ");
    EXPECT_EQ(fs::status(target).permissions() & fs::perms::all, perms);
}
