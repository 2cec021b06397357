// The reader's refusals with their texts and line numbers, and what it accepts (the cases are in
// tests/data/progfiles/hexreader.txt); the text reader and the file reader agree in everything.
#include "progfiles/hexfile.h"
#include "tests/common/tempfolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <tuple>

using namespace kelvane;

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

std::string unescape(const std::string& s)
{
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] != '\\' || i + 1 == s.size())
            out += s[i];
        else if (const char c = s[++i]; c == 'x')
            out += static_cast<char>(std::stoi(s.substr(i + 1, 2), nullptr, 16)), i += 2;
        else
            out += c == 'r' ? '\r' : c == 'n' ? '\n' : c == 't' ? '\t' : c;
    }
    return out;
}

} // namespace

TEST(HexReader, RefusedAndAcceptedFiles)
{
    std::ifstream in(KELVANE_TEST_DATA "/progfiles/hexreader.txt");
    int rows = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        std::vector<std::string> f;
        std::istringstream fields(line);
        for (std::string field; std::getline(fields, field, '\t');)
            f.push_back(field);
        f.resize(7);
        const std::string text = unescape(f[6]);
        SCOPED_TRACE(f[6].substr(0, 80));
        Read rd(text);
        EXPECT_EQ(rd.r.size, std::stoi(f[0]));
        EXPECT_EQ(rd.r.error, std::stoi(f[3]));
        if (rd.r.error != 0)
            EXPECT_EQ(rd.r.line, std::stoi(f[4]));
        EXPECT_EQ(rd.r.message, unescape(f[5]));
        EXPECT_FALSE(rd.r.openfailed);
        if (rd.r.size > 0)
            EXPECT_EQ((*rd.buf)[std::stoul(f[1], nullptr, 16)], std::stoi(f[2], nullptr, 16));
        ++rows;
    }
    EXPECT_GE(rows, 39);
}

TEST(HexReader, HostileInputStaysInsideTheBuffer)
{
    EXPECT_EQ(Read(";" + std::string(1'000'000, '\xFF') + "\n:0100000055AA\n").r.size, 1);
    for (const std::string& text : {std::string("\0\0:\0\n", 5), ":" + std::string(3'000'000, 'F') + "\n",
                                    std::string("  \t \r\n \x01\n")}) {
        Read rd(text);
        EXPECT_EQ(rd.r.size, 0);
        EXPECT_NE(rd.r.error, 0);
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
