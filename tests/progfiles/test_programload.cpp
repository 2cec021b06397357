// Program load for the command line and the File menu: format choice, image size rules, exit
// codes, memory save, and the texts of the confirmations.
#include "tests/common/tempfolder.h"
#include "progfiles/programload.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

using namespace kelvane;
namespace fs = std::filesystem;


TEST(ProgramLoad, FormatByNameOrByExtension)
{
    using F = ProgramFormat;
    const std::tuple<const char*, const char*, bool, F> cases[] = { // format asked, path; accepted, format taken
        {"", "/a/PROG.HeX", true, F::hex},     {"", "/a.hex/prog", true, F::obj}, {"", "/a/prog.hex.bin", true, F::obj},
        {"hex", "prog.obj", true, F::hex},     {"obj", "prog.hex", true, F::obj}, {"ihex", "prog.hex", false, F::obj}};
    for (const auto& [format, path, ok, want] : cases) {
        F f = F::obj;
        EXPECT_EQ(programformat(format, path, f), ok) << format << " " << path;
        EXPECT_TRUE(!ok || f == want) << format << " " << path;
    }
}

TEST(ProgramLoad, ResultsAndExitCodesLeaveTheImageAloneOnFailure)
{
    test::TempFolder dir;
    using S = LoadStatus;
    // Path, format asked; status, exit code, size, message (when one is given).
    const std::tuple<std::string, const char*, S, int, int32_t, std::string> cases[] = {
        {dir.put("ok.hex", ":020000003E05BB\r\n:00000001FF\r\n"), "", S::ok, 0, 2, ""},
        {dir.put("bad.hex", ":020000003E05BC\r\n"), "", S::refused, 1, 0,
         "Input program file in Intel Hex Format contains errors.\r\nLine number 1: Invalid 'checksum' field in "
         "the record."},
        {dir.put("zero.obj", ""), "", S::refused, 1, 0, "The size of the selected file is zero."},
        {dir.put("big.obj", std::string(65537, 'x')), "", S::refused, 1, 0,
         "The size of the selected file is greater than 64K."},
        {dir.put("full.bin", std::string(65536, '\x76')), "", S::ok, 0, 65536, ""},
        {dir.put("image.hex", "\x3E\x05"), "obj", S::ok, 0, 2, ""},
        {dir.at("missing.hex"), "", S::fileerror, 2, 0, ""},
        {dir.path.string(), "obj", S::fileerror, 2, 0, ""},
        {dir.at("ok.hex"), "srec", S::fileerror, 2, 0, ""},
    };
    for (const auto& [path, format, status, exitcode, size, message] : cases) {
        std::vector<int32_t> image(65536, 0x55);
        const ProgramLoadResult r = loadprogram(path, format, image.data());
        SCOPED_TRACE(path + ": " + r.message);
        EXPECT_EQ(std::tuple(r.status, r.exitcode(), r.size), std::tuple(status, exitcode, size));
        EXPECT_EQ(r.message.empty(), r.status == S::ok);
        EXPECT_TRUE(message.empty() || r.message == message);
        if (r.status == S::ok)
            EXPECT_EQ(std::pair(image[0], image[65535]), size == 2 ? std::pair(0x3E, 0) : std::pair(0x76, 0x76));
        else
            EXPECT_EQ(std::count(image.begin(), image.end(), 0x55), 65536);
    }
}

TEST(MemorySave, SizesInKilobytesAndSaveNames)
{
    const std::pair<int32_t, const char*> kb[] = {{4098, "4.00"}, {512, ".5"},   {1024, "1"},   {65536, "64"},
                                                  {1, ".000"},    {100, ".097"}, {1536, "1.5"}, {65535, "63.9"}};
    for (auto [size, want] : kb)
        EXPECT_EQ(kilobytetext(size), want) << size;
    EXPECT_EQ(loadedmessage(65536), "Operation completed.\r\nTotal 65536 (64K) bytes loaded.");
    const std::tuple<const char*, ProgramFormat, const char*> names[] = { // chosen, format, saved as
        {"/h/prog", ProgramFormat::hex, "/h/prog.hex"}, {"/h/prog.v1.obj", ProgramFormat::hex, "/h/prog.hex"},
        {"/h.d/prog", ProgramFormat::obj, "/h.d/prog.obj"}, {"/h/prog.hex", ProgramFormat::obj, "/h/prog.obj"}};
    for (const auto& [chosen, format, want] : names)
        EXPECT_EQ(savefilename(chosen, format), want);
}

TEST(MemorySave, SavesUpToTheLastNonZeroByte)
{
    test::TempFolder dir;
    std::vector<int32_t> mem(65541, 0);
    MemorySaveResult r = savememory(mem.data(), ProgramFormat::obj, dir.at("m.obj"));
    EXPECT_EQ(std::tuple(r.ok, r.message, fs::exists(dir.at("m.obj"))),
              std::tuple(false, "The memory is empty.", false));
    mem[0] = 0xC9;
    mem[65536] = 7; // the top mirror is not memory to save
    r = savememory(mem.data(), ProgramFormat::obj, dir.at("m.obj"));
    EXPECT_EQ(std::tuple(r.ok, r.size, r.message),
              std::tuple(true, 1, "Operation completed.\r\nTotal 1 (.000K) bytes saved."));
    EXPECT_EQ(fs::file_size(dir.at("m.obj")), 1u);
    mem[0x1234] = 0x76;
    r = savememory(mem.data(), ProgramFormat::hex, dir.at("m.hex"));
    EXPECT_EQ(std::pair(r.ok, r.size), std::pair(true, 0x1235));
    std::vector<int32_t> back(65536, 1);
    EXPECT_EQ(loadprogram(dir.at("m.hex"), "", back.data()).size, 0x1235);
    EXPECT_TRUE(std::equal(back.begin(), back.end(), mem.begin()));
    r = savememory(mem.data(), ProgramFormat::hex, dir.at("none/m.hex"));
    EXPECT_EQ(std::pair(r.ok, r.size), std::pair(false, 0));
    EXPECT_NE(r.message.find("Cannot write"), std::string::npos);
}

TEST(ProgramLoad, ExampleProgramsLoadTheSameFromBothFormats)
{
    int pairs = 0;
    for (const auto& entry : fs::directory_iterator(KELVANE_EXAMPLES_DIR)) {
        const fs::path obj = fs::path(entry.path()).replace_extension(".obj");
        if (entry.path().extension() != ".hex" || !fs::exists(obj))
            continue;
        std::vector<int32_t> fromhex(65536, 0), fromobj(65536, 0);
        EXPECT_EQ(loadprogram(entry.path().string(), "", fromhex.data()).status, LoadStatus::ok) << entry.path();
        EXPECT_EQ(loadprogram(obj.string(), "", fromobj.data()).size, fs::file_size(obj)) << obj;
        EXPECT_EQ(fromhex, fromobj) << entry.path();
        ++pairs;
    }
    EXPECT_GE(pairs, 2);
}
