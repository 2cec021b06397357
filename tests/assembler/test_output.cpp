// The listing rows of errors, line numbers past 9999, the object image and the files beside the source.
#include "assembler/assembler.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include <unistd.h>

namespace {

std::string readfile(const std::filesystem::path& p)
{
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST(Listing, ErrorRowsForTheWindow)
{
    // The window jumps from an error to its row: the rows count the listing's own rows.
    kelvane::Assembler a;
    a.assembletext("\t.DB 1,2,3,4,5,6,7,8,9\n\tMVI A,300\n\nX:\tNOP\nX:\tNOP\n", 1000);
    EXPECT_NE(a.listing.find("0002 Error: Invalid argument of the instruction.\r\n"), std::string::npos);
    ASSERT_EQ(a.errorlinecount, 2);
    EXPECT_EQ(a.errorline[1], 2);
    EXPECT_EQ(a.errorrow[1], 5);
    EXPECT_EQ(a.errorrow[2], 9);
    const auto errs = a.errors();
    ASSERT_EQ(errs.size(), 2u);
    EXPECT_EQ(errs[1].line, 5);
    EXPECT_EQ(errs[1].message, "Duplicate label.");
}

TEST(Listing, EmptySourceAndLineNumbersPast9999)
{
    kelvane::Assembler a;
    a.optgeneratehex = "ON";
    a.assembletext("", 1000);
    EXPECT_EQ(a.listing, "Number of errors = 0\r\n");
    EXPECT_EQ(a.lastaddress, -1);
    EXPECT_EQ(a.hextext, ":00000001FF\r\n");

    std::string src;
    for (int i = 0; i < 10001; ++i)
        src += "\tNOP\n";
    a.assembletext(src, 1000);
    EXPECT_NE(a.listing.find("\r\n0000   270F 00          \tNOP\r\n0001   2710 00"), std::string::npos);
    EXPECT_EQ(a.lastaddress, 10000);
}

TEST(ObjectImage, SourceOrderDecidesTheEnd)
{
    struct Case {
        const char* source;
        int32_t lastaddress;
        std::vector<std::pair<int32_t, int32_t>> bytes; // address, value
    };
    const Case cases[] = {
        // A later line overwrites an earlier one.
        {"\t.DB 1,2,3\n\t.ORG 1\n\t.DB 9", 1, {{0, 1}, {1, 9}, {2, 3}}},
        // Lines with errors write nothing.
        {"\tMVI A,300", -1, {}},
        {"\tNOP\n\t.ORG 0FFFFH\n\tRST 7", 0xFFFF, {{0xFFFF, 0xFF}}},
    };
    for (const auto& c : cases) {
        kelvane::Assembler a;
        a.assembletext(c.source, 1000);
        EXPECT_EQ(a.lastaddress, c.lastaddress) << c.source;
        for (auto [addr, v] : c.bytes)
            EXPECT_EQ(a.objimage[static_cast<size_t>(addr)], v) << c.source << " at " << addr;
    }
}

TEST(OutputFiles, BaseNameCutAtFirstDotAndFilesBeside)
{
    const auto dir = std::filesystem::temp_directory_path() / ("kelvane_asm_test_" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    {
        std::ofstream(dir / "a.b.asm", std::ios::binary) << "\t.ORG 10H\r\n\tMVI A,5\r\n\tFOO\r\n";
    }
    kelvane::Assembler a;
    a.optgeneratehex = "ON";
    int32_t status = 0;
    ASSERT_TRUE(a.assemblefile(dir.string(), "a.b.asm", status));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(readfile(dir / "a.lst"), a.listing);
    std::string obj(16, '\0');
    obj += "\x3E\x05";
    EXPECT_EQ(readfile(dir / "a.obj"), obj);
    EXPECT_EQ(readfile(dir / "a.hex"), ":020010003E05AB\r\n:00000001FF\r\n");

    // Without the option no .hex is written; a missing source is a file error.
    std::filesystem::remove(dir / "a.hex");
    a.optgeneratehex = "OFF";
    ASSERT_TRUE(a.assemblefile(dir.string() + "/", "a.b.asm", status));
    EXPECT_FALSE(std::filesystem::exists(dir / "a.hex"));
    EXPECT_FALSE(a.assemblefile(dir.string(), "missing.asm", status));
    EXPECT_FALSE(a.fileerror.empty());
    std::filesystem::remove_all(dir);
    EXPECT_EQ(kelvane::asmbasename("prog"), "prog");
}

} // namespace
