// The reader's refusals with their texts and line numbers, and what it accepts.
#include "progfiles/hexfile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <unistd.h>
#include <string>

using namespace kelvane;

namespace {

// A record with its checksum made from the body.
std::string rec(const std::string& body)
{
    return ":" + body + hexchecksum(body) + "\r\n";
}

// Reads the text as it is and as a file; the two readers must agree in everything.
struct Read {
    std::unique_ptr<HexBuffer> buf = std::make_unique<HexBuffer>();
    HexReadResult r;
    explicit Read(const std::string& text)
    {
        r = readhextext(text, *buf);
        const std::filesystem::path file =
            std::filesystem::temp_directory_path() / ("kelvane-hexreader-" + std::to_string(::getpid()) + ".hex");
        std::ofstream(file, std::ios::binary) << text;
        auto filebuf = std::make_unique<HexBuffer>();
        const HexReadResult f = readhexfile(file.string(), *filebuf);
        std::filesystem::remove(file);
        EXPECT_EQ(f.size, r.size);
        EXPECT_EQ(f.error, r.error);
        EXPECT_EQ(f.line, r.line);
        EXPECT_EQ(f.message, r.message);
        EXPECT_TRUE(*filebuf == *buf);
    }
};

const std::string endrec = ":00000001FF\r\n";

} // namespace

TEST(HexReader, EachErrorHasItsNumberLineAndText)
{
    const struct {
        std::string text;
        int error;
        int line;
        const char* tail;
    } cases[] = {
        {"garbage\r\n", 1, 1, "The record does not begin with ':' simbol."},
        {" :00000001FF\n", 1, 1, "The record does not begin with ':' simbol."},
        {"\n; comment\n:0000001FF\n", 2, 3, "The record is too short."},
        {":020000003E05BC\r\n", 3, 1, "Invalid 'checksum' field in the record."},
        {":020000003e05bb\r\n", 3, 1, "Invalid 'checksum' field in the record."},
        {rec("00000003"), 4, 1, "Invalid 'record type' field in the record."},
        {rec("0000000G"), 4, 1, "Invalid 'record type' field in the record."},
        {rec("0100000401"), 5, 1, "Invalid '04 type' record."},
        {rec("02000104" "0000"), 5, 1, "Invalid '04 type' record."},
        {rec("02000004" "00G0"), 5, 1, "Invalid '04 type' record."},
        {rec("02000002" "1001"), 11, 1, "Invalid '02 type' record."},
        {rec("02001002" "1000"), 11, 1, "Invalid '02 type' record."},
        {rec("03000002" "001000"), 11, 1, "Invalid '02 type' record."},
        {rec("G0000000" "00"), 6, 1, "Invalid 'number of bytes' field in the record."},
        {rec("0100G000" "00"), 7, 1, "Invalid 'address' field in the record."},
        {rec("02000000" "AA"), 8, 1, "The record does not contain the specified number of bytes."},
        {rec("01000000" "AABB"), 8, 1, "The record does not contain the specified number of bytes."},
        {rec("02000000" "AAG0"), 9, 1, "Invalid data byte in the record."},
        {rec("11FFF000" + std::string(34, '1')), 10, 1, "Address out of range."},
        {rec("02000004" "0001") + rec("01000000" "AA"), 10, 2, "Address out of range."},
        {rec("02000002" "1000") + rec("01000000" "AA"), 10, 2, "Address out of range."},
        // 8000 makes the 32-bit address negative; FFFF with segment 1000 would wrap it to 0.
        {rec("02000004" "8000") + rec("01000000" "AA"), 10, 2, "Address out of range."},
        {rec("02000004" "FFFF") + rec("02000002" "1000") + rec("01000000" "AA"), 10, 3, "Address out of range."},
        {rec("01000000" "AA") + "\r\n;x\r\n\r\n" + rec("01000000" "AB").substr(0, 12) + "\r\n", 3, 5,
         "Invalid 'checksum' field in the record."},
    };
    for (const auto& c : cases) {
        Read rd(c.text);
        EXPECT_EQ(rd.r.size, 0) << c.text;
        EXPECT_EQ(rd.r.error, c.error) << c.text;
        EXPECT_EQ(rd.r.line, c.line) << c.text;
        EXPECT_FALSE(rd.r.openfailed);
        EXPECT_EQ(rd.r.message, "Input program file in Intel Hex Format contains errors.\r\nLine number " +
                                    std::to_string(c.line) + ": " + c.tail)
            << c.text;
    }
}

TEST(HexReader, NoDataIsRefusedWithItsOwnText)
{
    for (const std::string text : {endrec, std::string(";only a comment\n\n   \n"), std::string(),
                                   rec("05000000") + rec("10000000")}) {
        Read rd(text);
        EXPECT_EQ(rd.r.size, 0);
        EXPECT_EQ(rd.r.error, 0);
        EXPECT_EQ(rd.r.message, "Input program file in Intel Hex Format contains no data.");
    }
}

TEST(HexReader, AcceptedFilesGiveHighestAddressPlusOne)
{
    const struct {
        std::string text;
        int32_t size;
        int32_t at;
        int32_t value;
    } cases[] = {
        {rec("10FFF000" + std::string(30, '0') + "7F") + endrec, 65536, 0xFFFF, 0x7F},
        {rec("01100000" "C3"), 4097, 0x1000, 0xC3}, // no end record needed
        {rec("02000002" "0100") + rec("01010000" "21"), 4097 + 256, 0x1100, 0x21},
        {rec("02000004" "0000") + rec("01050000" "99") + rec("04000005" "00000000") + endrec, 0x501, 0x500, 0x99},
        {rec("01000000" "11") + rec("01000000" "22"), 1, 0, 0x22}, // a later record overwrites
        {rec("01000000" "11") + endrec + "garbage\n:zz\n", 1, 0, 0x11},
        {rec("05000000") + rec("01030000" "33"), 0x301, 0x300, 0x33}, // data record of no data skipped
        {":0100000055AA   \t\r\r\n", 1, 0, 0x55},                         // trailing blanks and a stray CR
        {":0100000055AA\n:010100006698", 0x101, 0x100, 0x66},           // LF only, last line without an end
        {rec("01200000" "44") + rec("01100000" "33"), 0x2001, 0x1000, 0x33},
    };
    for (const auto& c : cases) {
        Read rd(c.text);
        EXPECT_EQ(rd.r.error, 0) << rd.r.message;
        EXPECT_EQ(rd.r.size, c.size) << c.text;
        EXPECT_EQ((*rd.buf)[static_cast<size_t>(c.at)], c.value) << c.text;
        EXPECT_TRUE(rd.r.message.empty());
    }
}

TEST(HexReader, HostileInputStaysInsideTheBuffer)
{
    std::string nul("\0\0:\0\n", 5);
    std::string longline = ":" + std::string(3'000'000, 'F') + "\n";
    std::string blanks = "  \t \r\n \x01\n";
    std::string comment = ";" + std::string(1'000'000, '\xFF') + "\n:0100000055AA\n";
    Read commented(comment);
    EXPECT_EQ(commented.r.size, 1);
    for (const std::string& text : {nul, longline, blanks}) {
        Read rd(text);
        EXPECT_EQ(rd.r.size, 0);
        EXPECT_NE(rd.r.error, 0);
    }
    // The longest record there is: 255 bytes.
    Read longest(rec("FF000000" + std::string(510, 'A')));
    EXPECT_EQ(longest.r.size, 255);
    EXPECT_EQ((*longest.buf)[254], 0xAA);
}

TEST(HexReader, FileThatCannotBeOpenedGivesAPlainMessage)
{
    auto buf = std::make_unique<HexBuffer>();
    for (const std::string path : {"/nonexistent-folder/x.hex", "/tmp"}) {
        const HexReadResult r = readhexfile(path, *buf);
        EXPECT_TRUE(r.openfailed);
        EXPECT_EQ(r.size, 0);
        EXPECT_EQ(r.error, 0);
        EXPECT_NE(r.message.find(path), std::string::npos) << r.message;
    }
}
