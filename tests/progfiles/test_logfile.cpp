// The ".log" reader: which files are taken, that a read in pieces gives what a read at once
// gives, and a file that may not be read. (Files of any size, other refusals: the viewer's tests.)
#include "progfiles/logfile.h"
#include "tests/common/tempfolder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kelvane;

namespace {

std::string row(int n)
{
    return (std::to_string(n) + "       ").substr(0, 7) + "0000  NOP             00 00000000  00 00 00 00 00 00 FFFF";
}

std::vector<std::string> rowsof(const LogRows& rows)
{
    std::vector<std::string> out;
    for (size_t i = 0; i < rows.size(); ++i)
        out.emplace_back(rows[i]);
    return out;
}

} // namespace

TEST(LogReader, TakesOnlyLinesOf64Bytes)
{
    const std::string r1 = row(1), r2 = row(2);
    std::string binary;
    for (int i = 0; i < 3000; ++i)
        binary += static_cast<char>((i * 7919) % 251);
    const struct {
        const char* name;
        std::string bytes;
        LogReadStatus status;
        std::vector<std::string> rows;
    } cases[] = {
        {"empty", "", LogReadStatus::done, {}},
        {"63 bytes", r1.substr(0, 63) + "\r\n", LogReadStatus::corrupt, {}},
        {"64 with CR LF", r1 + "\r\n", LogReadStatus::done, {r1}},
        {"64 with no line end", r1, LogReadStatus::done, {r1}},
        {"65 bytes", r1 + "X\r\n", LogReadStatus::corrupt, {}},
        {"mixed line ends", r1 + "\r" + r2 + "\n" + r1 + "\r\n" + r2, LogReadStatus::done, {r1, r2, r1, r2}},
        {"LF CR is two line ends", r1 + "\n\r" + r2 + "\r\n", LogReadStatus::corrupt, {r1}},
        {"an empty line", r1 + "\r\n\r\n" + r2 + "\r\n", LogReadStatus::corrupt, {r1}},
        {"a short last line", r1 + "\r\n" + r2.substr(0, 10), LogReadStatus::corrupt, {r1}},
        {"binary", binary, LogReadStatus::corrupt, {}},
        {"NUL bytes", std::string(64, '\0') + "\r\n", LogReadStatus::done, {std::string(64, '\0')}},
        {"log.txt", "Simulation started at 2026-11-22 21:05:07.\r\n" + r1 + "\r\n", LogReadStatus::corrupt, {}},
        {"a row of counter 10,000,000", "10000000" + r1.substr(7) + "\r\n", LogReadStatus::corrupt, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LogRows whole;
        EXPECT_EQ(readlogtext(c.bytes, whole), c.status);
        EXPECT_EQ(rowsof(whole), c.rows);
        // Every cut into two pieces gives the same rows and the same answer.
        for (size_t cut = 0; cut <= c.bytes.size() && cut < 200; ++cut) {
            LogLineSplitter splitter;
            LogRows parts;
            const bool ok = splitter.feed(std::string_view(c.bytes).substr(0, cut), parts) &&
                            splitter.feed(std::string_view(c.bytes).substr(cut), parts) && splitter.finish(parts);
            EXPECT_EQ(ok, c.status == LogReadStatus::done) << "cut at " << cut;
            EXPECT_EQ(rowsof(parts), c.rows) << "cut at " << cut;
        }
    }
}

TEST(LogReader, AFileWithoutReadPermissionIsRefused)
{
    test::TempFolder dir;
    const std::string path = dir.put("locked.log", row(1) + "\r\n");
    ASSERT_EQ(::chmod(path.c_str(), 0), 0);
    // The superuser reads any file: it opens this one as an ordinary user.
    const bool root = ::geteuid() == 0;
    ASSERT_TRUE(!root || ::seteuid(65534) == 0);
    LogReader reader;
    const bool opened = reader.open(path), seen = ::faccessat(AT_FDCWD, path.c_str(), F_OK, AT_EACCESS) == 0;
    ASSERT_TRUE(!root || ::seteuid(0) == 0);
    // The file is there for that user (its folder may be searched): the open itself is refused.
    EXPECT_EQ(std::tuple(seen, opened, reader.error()), std::tuple(true, false, std::string("Permission denied")));
}
