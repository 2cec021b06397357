// The ".log" reader and the row store: which files are taken and which are refused, that a read in
// pieces gives what a read at once gives, files that can't be read, and byte-for-byte saving.
#include "progfiles/logfile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace kelvane;
namespace fs = std::filesystem;

namespace {

struct Folder {
    fs::path path;
    Folder()
    {
        path = fs::temp_directory_path() / ("kelvane-log-" + std::to_string(::getpid()) + "-" +
                                            ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(path);
        fs::create_directories(path);
    }
    ~Folder() { fs::remove_all(path); }
    std::string put(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(path / name, std::ios::binary) << bytes;
        return (path / name).string();
    }
};

// A row of 64 characters whose counter field is n.
std::string row(int n)
{
    std::string r = std::to_string(n);
    r.resize(7, ' ');
    r += "0000  NOP             00 00000000  00 00 00 00 00 00 FFFF";
    return r;
}

const std::string r1 = row(1), r2 = row(2);

struct ReadCase {
    const char* name;
    std::string bytes;
    LogReadStatus status;
    size_t rows;
};

std::vector<ReadCase> readcases()
{
    std::string binary;
    for (int i = 0; i < 3000; ++i)
        binary += static_cast<char>((i * 7919) % 251);
    std::string nul(64, '\0');
    return {
        {"empty", "", LogReadStatus::done, 0},
        {"63 bytes", r1.substr(0, 63) + "\r\n", LogReadStatus::corrupt, 0},
        {"64 with CR LF", r1 + "\r\n", LogReadStatus::done, 1},
        {"64 with LF", r1 + "\n", LogReadStatus::done, 1},
        {"64 with CR", r1 + "\r", LogReadStatus::done, 1},
        {"64 with no line end", r1, LogReadStatus::done, 1},
        {"65 bytes", r1 + "X\r\n", LogReadStatus::corrupt, 0},
        {"mixed line ends", r1 + "\r" + r2 + "\n" + r1 + "\r\n" + r2, LogReadStatus::done, 4},
        {"LF CR is two line ends", r1 + "\n\r" + r2 + "\r\n", LogReadStatus::corrupt, 1},
        {"an empty line", r1 + "\r\n\r\n" + r2 + "\r\n", LogReadStatus::corrupt, 1},
        {"a short last line", r1 + "\r\n" + r2.substr(0, 10), LogReadStatus::corrupt, 1},
        {"a bad line keeps the rows before it", r1 + "\r\n" + r2 + "\r\nshort\r\n" + r1 + "\r\n",
         LogReadStatus::corrupt, 2},
        {"binary", binary, LogReadStatus::corrupt, 0},
        {"NUL bytes in a 64-byte line", nul + "\r\n", LogReadStatus::done, 1},
        {"log.txt",
         "Simulation started at 2026-11-22 21:05:07.\r\n"
         "No.    PC    Instruction     A  SZ_A_P_C  B  C  D  E  H  L  SP  \r\n\r\n" +
             r1 + "\r\n",
         LogReadStatus::corrupt, 0},
        {"a row of counter 10,000,000", "10000000" + r1.substr(7) + "\r\n", LogReadStatus::corrupt, 0},
    };
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
    Folder folder;
    for (const ReadCase& c : readcases()) {
        SCOPED_TRACE(c.name);
        LogRows whole;
        EXPECT_EQ(readlogtext(c.bytes, whole), c.status);
        EXPECT_EQ(whole.size(), c.rows);
        for (size_t i = 0; i < whole.size(); ++i)
            EXPECT_EQ(whole[i].size(), logrowwidth);

        // Every cut into two pieces gives the same rows and the same answer.
        for (size_t cut = 0; cut <= c.bytes.size() && cut < 200; ++cut) {
            LogLineSplitter splitter;
            LogRows parts;
            const bool ok = splitter.feed(std::string_view(c.bytes).substr(0, cut), parts) &&
                            splitter.feed(std::string_view(c.bytes).substr(cut), parts) && splitter.finish(parts);
            EXPECT_EQ(ok, c.status == LogReadStatus::done) << "cut at " << cut;
            EXPECT_EQ(rowsof(parts), rowsof(whole)) << "cut at " << cut;
        }

        // The file reader agrees.
        LogReader reader;
        ASSERT_TRUE(reader.open(folder.put("case.log", c.bytes))) << reader.error();
        LogRows fromfile;
        EXPECT_EQ(reader.readall(fromfile), c.status);
        EXPECT_EQ(rowsof(fromfile), rowsof(whole));
    }
}

TEST(LogReader, TheRowsComeBackAsTheyWere)
{
    LogRows rows;
    ASSERT_EQ(readlogtext(r1 + "\r\n" + r2 + "\r\n", rows), LogReadStatus::done);
    EXPECT_EQ(rows[0], r1);
    EXPECT_EQ(rows[1], r2);
    const std::string nul(64, '\0');
    LogRows nulrows;
    ASSERT_EQ(readlogtext(nul, nulrows), LogReadStatus::done);
    EXPECT_EQ(nulrows[0], nul);
}

TEST(LogReader, ReadsInSlicesWithNoLimitOfRows)
{
    // More rows than a 16-bit bar has pages for (491,505 rows), in slices of a small budget.
    Folder folder;
    const size_t count = 491506;
    std::string text;
    text.reserve(count * 66);
    for (size_t i = 0; i < count; ++i) {
        text += row(static_cast<int>(i + 1));
        text += "\r\n";
    }
    LogReader reader;
    ASSERT_TRUE(reader.open(folder.put("big.log", text)));
    LogRows rows;
    size_t slices = 0;
    LogReadStatus status;
    while ((status = reader.read(rows, 1 << 20)) == LogReadStatus::more)
        ++slices;
    EXPECT_EQ(status, LogReadStatus::done);
    EXPECT_GE(slices, 25u);
    ASSERT_EQ(rows.size(), count);
    EXPECT_EQ(rows[count - 1], row(static_cast<int>(count)));
    // Saved again, the file comes back byte for byte.
    EXPECT_TRUE(logfiletext(rows) == text);
    // After the end the reader answers nothing more.
    EXPECT_EQ(reader.read(rows, 1), LogReadStatus::failed);
}

TEST(LogReader, FilesThatCantBeReadAreRefusedWithoutWaiting)
{
    Folder folder;
    const std::string fifo = (folder.path / "pipe.log").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const struct {
        std::string path;
        const char* reason;
    } cases[] = {
        {(folder.path / "missing.log").string(), "No such file or directory"},
        {folder.path.string(), "it is a folder"},
        {fifo, "it is not a plain file"},
        {"/dev/zero", "it is not a plain file"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        LogReader reader;
        EXPECT_FALSE(reader.open(c.path));
        EXPECT_EQ(reader.error(), c.reason);
        LogRows rows;
        EXPECT_EQ(reader.read(rows, 100), LogReadStatus::failed);
        EXPECT_TRUE(rows.empty());
    }
}

TEST(LogReader, AReadErrorEndsTheReadWithItsReason)
{
    // The process's own memory is a plain file whose first page can't be read.
    LogReader reader;
    ASSERT_TRUE(reader.open("/proc/self/mem"));
    LogRows rows;
    EXPECT_EQ(reader.read(rows, 100), LogReadStatus::failed);
    EXPECT_EQ(reader.error(), "Input/output error");
    EXPECT_TRUE(rows.empty());
}

TEST(LogReader, AFileWithoutReadPermissionIsRefused)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "the superuser reads any file";
    Folder folder;
    const std::string path = folder.put("locked.log", r1 + "\r\n");
    ::chmod(path.c_str(), 0);
    LogReader reader;
    EXPECT_FALSE(reader.open(path));
    EXPECT_EQ(reader.error(), "Permission denied");
}

TEST(LogRows, RowsOfOtherWidthsKeepTheirText)
{
    // A run that passes ten million instructions gives rows of 65 characters among those of 64.
    const std::vector<std::string> texts = {r1, r2, "10000000" + r1.substr(7), r1, "", "x"};
    LogRows rows;
    for (const auto& t : texts)
        rows.append(t);
    EXPECT_EQ(rowsof(rows), texts);
    std::string expected;
    for (const auto& t : texts)
        expected += t + "\r\n";
    EXPECT_EQ(logfiletext(rows), expected);
    rows.clear();
    EXPECT_TRUE(rows.empty());
    rows.append(r2);
    EXPECT_EQ(rowsof(rows), std::vector<std::string>{r2});
}
