// The two working files: nothing else in the folder is touched, links of their names are never
// followed, both are gone after the run (the result once the caller took it), also after a
// failure; and the progress texts.
#include "testutil.h"

#include <fstream>
#include <stdexcept>

namespace kelvane {
namespace {

void writefile(const std::filesystem::path& p, const std::string& text)
{
    std::ofstream(p, std::ios::binary) << text;
}

Disassembler engine(const std::filesystem::path& folder)
{
    Disassembler d;
    d.workfolder = folder;
    const uint8_t prog[] = {0x3E, 0x05, 0xC3, 0x02, 0x00};
    d.loadimage(prog, sizeof prog);
    return d;
}

TEST(DasmFiles, ResultStaysForTheCallerOtherFilesAreLeftAlone)
{
    test::TempFolder dir;
    writefile(dir.path / "prog.obj", "user data");
    writefile(dir.path / "8085_disassembler_temporary_file.bak", "keep me");
    // Leftovers of the same names are replaced.
    writefile(dir.path / dasmresultname, std::string(100000, 'x'));
    writefile(dir.path / dasmintermediatename, std::string(100000, 'y'));
    Disassembler d = engine(dir.path);
    ASSERT_TRUE(d.disassemble(true, false)) << d.dasmerror;
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"8085_disassembler_temporary_file",
                                                       "8085_disassembler_temporary_file.bak", "prog.obj"}));
    std::string text;
    ASSERT_TRUE(d.takeresult(text));
    EXPECT_NE(text.find("L0001:  JMP L0001"), std::string::npos);
    EXPECT_EQ(text.find('x'), std::string::npos);
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"8085_disassembler_temporary_file.bak", "prog.obj"}));
    EXPECT_EQ(test::slurp(dir.path / "prog.obj"), "user data");
    EXPECT_EQ(test::slurp(dir.path / "8085_disassembler_temporary_file.bak"), "keep me");
}

TEST(DasmFiles, LinksOfTheSameNamesNeverReachTheirTargets)
{
    test::TempFolder dir;
    writefile(dir.path / "mine.asm", "my source");
    writefile(dir.path / "mine.lst", "my listing");
    std::filesystem::create_symlink(dir.path / "mine.asm", dir.path / dasmresultname);
    std::filesystem::create_symlink(dir.path / "mine.lst", dir.path / dasmintermediatename);
    Disassembler d = engine(dir.path);
    std::string text;
    ASSERT_TRUE(d.disassemble(true, false) && d.takeresult(text)) << d.dasmerror;
    EXPECT_EQ(test::slurp(dir.path / "mine.asm"), "my source");
    EXPECT_EQ(test::slurp(dir.path / "mine.lst"), "my listing");
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"mine.asm", "mine.lst"}));
}

TEST(DasmFiles, FailuresLeaveNoWorkingFile)
{
    test::TempFolder dir;
    // A folder that does not exist.
    Disassembler missing = engine(dir.path / "missing");
    EXPECT_FALSE(missing.disassemble(true, false));
    EXPECT_NE(missing.dasmerror.find("8085_disassembler_temporary_file2"), std::string::npos) << missing.dasmerror;
    EXPECT_TRUE(dir.entries().empty());

    // The progress receiver throws, once in the sweep and once while the result is written.
    for (const char* phase : {"Performing pass 1.", "Preparing listing."}) {
        Disassembler d = engine(dir.path);
        d.progress = [phase](const std::string& p1, const std::string&) {
            if (p1 == phase)
                throw std::runtime_error("stopped");
        };
        EXPECT_THROW(d.disassemble(false, true), std::runtime_error) << phase;
        EXPECT_TRUE(dir.entries().empty()) << phase;
    }

    // A directory in the way of the result.
    std::filesystem::create_directory(dir.path / dasmresultname);
    writefile(dir.path / dasmresultname / "inside", "kept");
    Disassembler d = engine(dir.path);
    EXPECT_FALSE(d.disassemble(true, false));
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{dasmresultname}));
    EXPECT_EQ(test::slurp(dir.path / dasmresultname / "inside"), "kept");
}

TEST(DasmFiles, ProgressTexts)
{
    test::TempFolder dir;
    Disassembler d = engine(dir.path);
    std::vector<std::pair<std::string, std::string>> seen;
    d.progress = [&seen](const std::string& p1, const std::string& p2) { seen.emplace_back(p1, p2); };
    ASSERT_TRUE(d.disassemble(false, false));
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"Performing pass 1.", "Line  1"}, {"Performing pass 1.", "Line  2"}, {"Preparing listing.", ""}};
    EXPECT_EQ(seen, expected);
    seen.clear();
    ASSERT_TRUE(d.disassemble(true, false));
    EXPECT_TRUE(seen.empty());
}

} // namespace
} // namespace kelvane
