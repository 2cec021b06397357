// Intel HEX files: the reader's refusals with their texts and line numbers and what it accepts (the
// text and the file reader agree in everything), the exact records written, the safe save, and
// files exchanged with objcopy and srec_cat (a case is skipped when its tool is not installed).
// The cases are in tests/data/progfiles.
#include "progfiles/hexfile.h"
#include "progfiles/safewrite.h"
#include "tests/common/tempfolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <random>
#include <sstream>
#include <tuple>
#include <sys/resource.h>

using namespace kelvane;
namespace fs = std::filesystem;

namespace {

struct Read {
    std::unique_ptr<HexBuffer> buf = std::make_unique<HexBuffer>();
    HexReadResult r;
    explicit Read(const std::string& text)
    {
        r = readhextext(text, *buf);
        test::TempFolder dir;
        auto filebuf = std::make_unique<HexBuffer>();
        const HexReadResult f = readhexfile(dir.put("x.hex", text), *filebuf);
        EXPECT_EQ(std::tie(f.size, f.error, f.line, f.message), std::tie(r.size, r.error, r.line, r.message));
        EXPECT_TRUE(*filebuf == *buf);
    }
};

// The rows of a data file: fields divided by tabs, with \r, \n, \t and \xHH for those bytes.
std::vector<std::vector<std::string>> datarows(const std::string& name)
{
    std::vector<std::vector<std::string>> rows;
    std::ifstream in(KELVANE_TEST_DATA "/progfiles/" + name);
    EXPECT_TRUE(in.good()) << name;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        rows.emplace_back();
        std::istringstream fields(line);
        for (std::string s, out; std::getline(fields, s, '\t'); rows.back().push_back(out), out.clear())
            for (size_t i = 0; i < s.size(); ++i) {
                if (s[i] != '\\' || i + 1 == s.size())
                    out += s[i];
                else if (const char c = s[++i]; c == 'x')
                    out += static_cast<char>(std::stoi(s.substr(i + 1, 2), nullptr, 16)), i += 2;
                else
                    out += c == 'r' ? '\r' : c == 'n' ? '\n' : c == 't' ? '\t' : c;
            }
        rows.back().resize(7);
    }
    return rows;
}

bool hastool(const std::string& name) { return std::system(("command -v " + name + " >/dev/null").c_str()) == 0; }

int run(const test::TempFolder& w, const std::string& command)
{
    return std::system(("cd '" + w.path.string() + "' && " + command + " >tool.log 2>&1").c_str());
}

std::vector<uint8_t> randombytes(size_t n, unsigned seed)
{
    std::mt19937 rng(seed);
    std::vector<uint8_t> s(n);
    std::generate(s.begin(), s.end(), [&rng] { return static_cast<uint8_t>(rng()); });
    return s;
}

} // namespace

TEST(HexReader, RefusedAndAcceptedFiles)
{
    // size, address and its byte (hex), error number, its line, message, the file's text
    const auto rows = datarows("hexreader.txt");
    for (const auto& f : rows) {
        SCOPED_TRACE(f[6].substr(0, 80));
        Read rd(f[6]);
        EXPECT_EQ(std::tuple(rd.r.size, rd.r.error, rd.r.message, rd.r.openfailed),
                  std::tuple(std::stoi(f[0]), std::stoi(f[3]), f[5], false));
        if (rd.r.error != 0)
            EXPECT_EQ(rd.r.line, std::stoi(f[4]));
        if (rd.r.size > 0)
            EXPECT_EQ((*rd.buf)[std::stoul(f[1], nullptr, 16)], std::stoi(f[2], nullptr, 16));
    }
    EXPECT_GE(rows.size(), 39u);
}

TEST(HexReader, HostileInputStaysInsideTheBuffer)
{
    EXPECT_EQ(Read(";" + std::string(1'000'000, '\xFF') + "\n:0100000055AA\n").r.size, 1);
    for (const std::string& text : {std::string("\0\0:\0\n", 5), ":" + std::string(3'000'000, 'F') + "\n",
                                    std::string("  \t \r\n \x01\n")}) {
        const HexReadResult r = Read(text).r;
        EXPECT_TRUE(r.size == 0 && r.error != 0) << r.error;
    }
}

TEST(HexReader, FileThatCannotBeOpenedGivesAPlainMessage)
{
    auto buf = std::make_unique<HexBuffer>();
    for (const std::string path : {"/nonexistent-folder/x.hex", "/tmp"}) {
        const HexReadResult r = readhexfile(path, *buf);
        EXPECT_TRUE(r.openfailed && r.size == 0 && r.error == 0);
        EXPECT_NE(r.message.find(path), std::string::npos) << r.message;
    }
}

TEST(HexWriter, RecordsChunksAndEnd)
{
    for (const auto& f : datarows("hexwriter.txt")) { // last address, address:value pairs, the file
        std::vector<int32_t> mem(65536, 0);
        std::istringstream bytes(f[1]);
        for (std::string b; bytes >> b;)
            mem[std::stoul(b, nullptr, 16)] = std::stoi(b.substr(5), nullptr, 16);
        EXPECT_EQ(hexfiletext(mem.data(), std::stoi(f[0], nullptr, 16)), f[2]) << f[0] << " " << f[1];
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
    const rlimit small{1000, old.rlim_max};
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
    test::TempFolder w;
    const auto bytes = randombytes(3000, 4);
    w.put("in.bin", std::string(bytes.begin(), bytes.end()));
    for (const auto& c : datarows("crosstools.txt")) { // tool, where the bytes land, its options
        if (!hastool(c[0]))
            continue;
        SCOPED_TRACE(c[0] + " " + c[2]);
        ASSERT_EQ(run(w, c[0] + " " + c[2]), 0) << test::slurp(w.at("tool.log"));
        auto buf = std::make_unique<HexBuffer>();
        const HexReadResult r = readhexfile(w.at("out.hex"), *buf);
        const int32_t base = std::stoi(c[1], nullptr, 16);
        if (base < 0) {
            EXPECT_EQ(std::pair(r.error, r.line), std::pair(10, 2)) << r.message;
            continue;
        }
        ASSERT_EQ(r.error, 0) << r.message;
        ASSERT_EQ(r.size, base + static_cast<int32_t>(bytes.size()));
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), buf->begin() + base));
        EXPECT_EQ(std::count(buf->begin(), buf->begin() + base, 0), base);
    }
}
