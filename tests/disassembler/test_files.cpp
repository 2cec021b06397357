// The two working files: where they live, that nothing else in the folder is touched, that
// both are gone after the run (the result once the caller took it), also after a failure;
// and the progress texts.
#include "testutil.h"

#include <fstream>
#include <stdexcept>

namespace kelvane {
namespace {

void writefile(const std::filesystem::path& p, const std::string& text)
{
    std::ofstream(p, std::ios::binary) << text;
}

std::string readfile(const std::filesystem::path& p)
{
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

Disassembler engine(const std::filesystem::path& folder)
{
    Disassembler d;
    d.workfolder = folder;
    const uint8_t prog[] = {0x3E, 0x05, 0xC3, 0x02, 0x00};
    d.loadimage(prog, sizeof prog);
    return d;
}

TEST(DasmFiles, ResultStaysForTheCallerIntermediateIsGone)
{
    test::WorkFolder dir;
    writefile(dir.path() / "prog.obj", "user data");
    writefile(dir.path() / "8085_disassembler_temporary_file.bak", "keep me");
    Disassembler d = engine(dir.path());
    ASSERT_TRUE(d.disassemble(true, false)) << d.dasmerror;
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"8085_disassembler_temporary_file",
                                                       "8085_disassembler_temporary_file.bak",
                                                       "prog.obj"}));
    std::string text;
    ASSERT_TRUE(d.takeresult(text));
    EXPECT_NE(text.find("L0001:  JMP L0001"), std::string::npos);
    EXPECT_EQ(dir.entries(),
              (std::vector<std::string>{"8085_disassembler_temporary_file.bak", "prog.obj"}));
    EXPECT_EQ(readfile(dir.path() / "prog.obj"), "user data");
    EXPECT_EQ(readfile(dir.path() / "8085_disassembler_temporary_file.bak"), "keep me");
}

TEST(DasmFiles, OldFilesOfTheSameNamesAreReplaced)
{
    test::WorkFolder dir;
    writefile(dir.path() / dasmresultname, std::string(100000, 'x'));
    writefile(dir.path() / dasmintermediatename, std::string(100000, 'y'));
    Disassembler d = engine(dir.path());
    ASSERT_TRUE(d.disassemble(true, true)) << d.dasmerror;
    const std::string text = readfile(dir.path() / dasmresultname);
    EXPECT_TRUE(text.starts_with(";----")) << text.substr(0, 40);
    EXPECT_EQ(text.find('x'), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(dir.path() / dasmintermediatename));
}

TEST(DasmFiles, LinksOfTheSameNamesNeverReachTheirTargets)
{
    // A link named like a working file is replaced itself; the user's file it points to stays.
    test::WorkFolder dir;
    writefile(dir.path() / "mine.asm", "my source");
    writefile(dir.path() / "mine.lst", "my listing");
    std::filesystem::create_symlink(dir.path() / "mine.asm", dir.path() / dasmresultname);
    std::filesystem::create_symlink(dir.path() / "mine.lst", dir.path() / dasmintermediatename);
    Disassembler d = engine(dir.path());
    ASSERT_TRUE(d.disassemble(true, false)) << d.dasmerror;
    std::string text;
    ASSERT_TRUE(d.takeresult(text));
    EXPECT_EQ(readfile(dir.path() / "mine.asm"), "my source");
    EXPECT_EQ(readfile(dir.path() / "mine.lst"), "my listing");
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"mine.asm", "mine.lst"}));
}

TEST(DasmFiles, FolderThatCannotBeWrittenFailsCleanly)
{
    test::WorkFolder dir;
    Disassembler d = engine(dir.path() / "missing");
    EXPECT_FALSE(d.disassemble(true, false));
    EXPECT_NE(d.dasmerror.find("8085_disassembler_temporary_file2"), std::string::npos) << d.dasmerror;
    EXPECT_TRUE(dir.entries().empty());
}

TEST(DasmFiles, DirectoryInTheWayOfTheResultFailsAndLeavesNoIntermediate)
{
    test::WorkFolder dir;
    std::filesystem::create_directory(dir.path() / dasmresultname);
    writefile(dir.path() / dasmresultname / "inside", "kept");
    Disassembler d = engine(dir.path());
    EXPECT_FALSE(d.disassemble(true, false));
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{dasmresultname}));
    EXPECT_EQ(readfile(dir.path() / dasmresultname / "inside"), "kept");
}

TEST(DasmFiles, FailureInsideTheRunRemovesBothFiles)
{
    // The progress receiver throws, once in the sweep and once while the result is written.
    for (const char* phase : {"Performing pass 1.", "Preparing listing."}) {
        test::WorkFolder dir;
        Disassembler d = engine(dir.path());
        d.progress = [phase](const std::string& p1, const std::string&) {
            if (p1 == phase)
                throw std::runtime_error("stopped");
        };
        EXPECT_THROW(d.disassemble(false, true), std::runtime_error) << phase;
        EXPECT_TRUE(dir.entries().empty()) << phase;
    }
}

TEST(DasmFiles, ProgressTexts)
{
    test::WorkFolder dir;
    Disassembler d = engine(dir.path());
    std::vector<std::pair<std::string, std::string>> seen;
    d.progress = [&seen](const std::string& p1, const std::string& p2) { seen.emplace_back(p1, p2); };
    ASSERT_TRUE(d.disassemble(false, false));
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"Performing pass 1.", "Line  1"},
        {"Performing pass 1.", "Line  2"},
        {"Preparing listing.", ""},
    };
    EXPECT_EQ(seen, expected);

    seen.clear();
    ASSERT_TRUE(d.disassemble(true, false));
    EXPECT_TRUE(seen.empty());
}

TEST(DasmFiles, EachRunStartsWithAnEmptyLabelTable)
{
    test::WorkFolder dir;
    Disassembler d = engine(dir.path());
    ASSERT_TRUE(d.disassemble(true, false));
    ASSERT_TRUE(d.disassemble(true, false));
    EXPECT_EQ(d.dasmlabelcount, 1);
    std::string text;
    ASSERT_TRUE(d.takeresult(text));
    EXPECT_NE(text.find("0002   0002 C3 02 00    L0001:  JMP L0001"), std::string::npos);
}

} // namespace
} // namespace kelvane
