// kelvane-cli disasm: the result text on standard output, the loader's refusals on standard
// error with their exit status, nothing left in the program's folder, and runs side by side.
#include "randomimages.h"
#include "testutil.h"

#include "progfiles/hexfile.h"

#include <sys/wait.h>

#include <fstream>
#include <future>

namespace kelvane {
namespace {

struct CliResult {
    int status = -1;
    std::string out;
    std::string err;
};

std::string slurp(const std::filesystem::path& p)
{
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void spit(const std::filesystem::path& p, const std::string& text)
{
    std::ofstream(p, std::ios::binary) << text;
}

std::string quote(const std::string& s)
{
    std::string q = "'";
    for (char c : s)
        q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

// Runs kelvane-cli with a command and args; its outputs go to files in a folder of their own.
CliResult cli(const char* command, const std::vector<std::string>& args)
{
    test::WorkFolder io;
    std::string cmd = quote(KELVANE_CLI_PATH) + " " + command;
    for (const auto& a : args)
        cmd += " " + quote(a);
    cmd += " >" + quote((io.path() / "out").string()) + " 2>" + quote((io.path() / "err").string());
    const int rc = std::system(cmd.c_str());
    CliResult r;
    r.status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    r.out = slurp(io.path() / "out");
    r.err = slurp(io.path() / "err");
    return r;
}

CliResult disasm(const std::vector<std::string>& args)
{
    return cli("disasm", args);
}

std::string bytes(const std::vector<uint8_t>& v)
{
    return std::string(v.begin(), v.end());
}

TEST(DisasmCli, PrintsTheResultTextOfBothForms)
{
    std::mt19937 rng(77);
    test::WorkFolder dir;
    test::WorkFolder enginedir;
    spit(dir.path() / "notes.txt", "mine");
    for (int round = 0; round < 6; ++round) {
        const std::vector<uint8_t> img = test::randomimage(rng, test::randomsize(rng), true);
        spit(dir.path() / "prog.obj", bytes(img));
        for (bool src : {false, true}) {
            std::vector<std::string> args = {(dir.path() / "prog.obj").string()};
            if (src)
                args.push_back("--source");
            const CliResult r = disasm(args);
            EXPECT_EQ(r.status, 0) << r.err;
            EXPECT_EQ(r.err, "");
            EXPECT_EQ(r.out, test::disassemblebytes(img, src, enginedir.path()));
        }
    }
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"notes.txt", "prog.obj"}));
    EXPECT_EQ(slurp(dir.path() / "notes.txt"), "mine");
}

TEST(DisasmCli, ProgramNamedLikeAWorkingFileSurvives)
{
    test::WorkFolder dir;
    test::WorkFolder enginedir;
    const std::vector<uint8_t> prog = {0xC3, 0x03, 0x00, 0x76};
    for (const char* name : {dasmresultname, dasmintermediatename}) {
        spit(dir.path() / name, bytes(prog));
        const CliResult r = disasm({(dir.path() / name).string(), "--format", "obj"});
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, test::disassemblebytes(prog, false, enginedir.path()));
        EXPECT_EQ(slurp(dir.path() / name), bytes(prog)) << name;
        EXPECT_EQ(dir.entries(), (std::vector<std::string>{name}));
        std::filesystem::remove(dir.path() / name);
    }
}

TEST(DisasmCli, IntelHexByExtensionOrByOption)
{
    test::WorkFolder dir;
    test::WorkFolder enginedir;
    std::vector<int32_t> image(65536, 0);
    const std::vector<uint8_t> prog = {0x3E, 0x05, 0xC3, 0x02, 0x00, 0x00, 0x76};
    std::copy(prog.begin(), prog.end(), image.begin());
    const std::string hex = hexfiletext(image.data(), static_cast<int32_t>(prog.size()) - 1);
    spit(dir.path() / "prog.hex", hex);
    spit(dir.path() / "prog.txt", hex);
    const std::string want = test::disassemblebytes(prog, false, enginedir.path());

    CliResult r = disasm({(dir.path() / "prog.hex").string()});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, want);
    r = disasm({"--format", "hex", (dir.path() / "prog.txt").string()});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, want);
    // Forced to a binary image, the HEX text itself is disassembled.
    r = disasm({(dir.path() / "prog.hex").string(), "--format", "obj"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, test::disassemblebytes(std::vector<uint8_t>(hex.begin(), hex.end()), false, enginedir.path()));
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"prog.hex", "prog.txt"}));
}

TEST(DisasmCli, SizeLimitsOfTheImage)
{
    test::WorkFolder dir;
    spit(dir.path() / "full.obj", std::string(65536, '\0'));
    CliResult r = disasm({(dir.path() / "full.obj").string()});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\n5536   FFFF 00                  NOP\n"), std::string::npos);

    struct Refusal {
        const char* name;
        std::string content;
        const char* message;
    };
    for (const Refusal& c : {Refusal{"empty.obj", "", "The size of the selected file is zero."},
                             Refusal{"big.obj", std::string(65537, '\0'),
                                     "The size of the selected file is greater than 64K."},
                             Refusal{"bad.hex", ":0100000000FE\r\n", "Intel Hex Format contains errors."}}) {
        spit(dir.path() / c.name, c.content);
        r = disasm({(dir.path() / c.name).string()});
        EXPECT_EQ(r.status, 1) << c.name;
        EXPECT_EQ(r.out, "") << c.name;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << c.name << ": " << r.err;
    }
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"bad.hex", "big.obj", "empty.obj", "full.obj"}));
}

TEST(DisasmCli, UsageErrors)
{
    test::WorkFolder dir;
    spit(dir.path() / "p.obj", "\x76");
    const std::string p = (dir.path() / "p.obj").string();
    for (const auto& args : std::vector<std::vector<std::string>>{
             {}, {p, "--format"}, {p, "--format", "bin"}, {p, "--listing"}, {p, p}}) {
        const CliResult r = disasm(args);
        EXPECT_EQ(r.status, 2) << (args.empty() ? "" : args.back());
        EXPECT_EQ(r.out, "");
        EXPECT_NE(r.err.find("usage: kelvane-cli disasm"), std::string::npos) << r.err;
    }
    const CliResult missing = disasm({(dir.path() / "none.obj").string()});
    EXPECT_NE(missing.status, 0);
    EXPECT_NE(missing.err, "");
}

TEST(DisasmCli, RunsInOneFolderSideBySide)
{
    // The working files have fixed names; runs in the same folder must not mix them up.
    std::mt19937 rng(5);
    test::WorkFolder dir;
    test::WorkFolder enginedir;
    std::vector<std::vector<uint8_t>> imgs;
    for (int k = 0; k < 8; ++k) {
        imgs.push_back(test::randomimage(rng, 20000 + rng() % 40000, true));
        spit(dir.path() / ("p" + std::to_string(k) + ".obj"), bytes(imgs.back()));
    }
    std::vector<std::future<CliResult>> runs;
    for (int k = 0; k < 8; ++k)
        runs.push_back(std::async(std::launch::async, [&dir, k] {
            return disasm({(dir.path() / ("p" + std::to_string(k) + ".obj")).string(), "--source"});
        }));
    for (int k = 0; k < 8; ++k) {
        const CliResult r = runs[static_cast<size_t>(k)].get();
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_TRUE(r.out == test::disassemblebytes(imgs[static_cast<size_t>(k)], true, enginedir.path()))
            << "run " << k;
    }
    EXPECT_EQ(dir.entries().size(), 8u);
}

TEST(DisasmCli, SourceThroughTheAsmCommandGivesTheImageBack)
{
    std::mt19937 rng(1985);
    test::WorkFolder progs;
    test::WorkFolder sources;
    for (int round = 0; round < 8; ++round) {
        const std::vector<uint8_t> img = test::randomimage(rng, 1 + rng() % 20000, round % 2 == 0);
        spit(progs.path() / "prog.obj", bytes(img));
        const CliResult d = disasm({(progs.path() / "prog.obj").string(), "--source"});
        ASSERT_EQ(d.status, 0) << d.err;
        spit(sources.path() / "back.asm", d.out);
        const CliResult a = cli("asm", {(sources.path() / "back.asm").string()});
        ASSERT_EQ(a.status, 0) << "round " << round << ": " << a.err << a.out.substr(0, 400);
        const std::string obj = slurp(sources.path() / "back.obj");
        ASSERT_GE(obj.size(), img.size()) << "round " << round;
        ASSERT_LE(obj.size(), img.size() + 2) << "round " << round;
        EXPECT_EQ(obj.substr(0, img.size()), bytes(img)) << "round " << round;
        EXPECT_EQ(obj.substr(img.size()), std::string(obj.size() - img.size(), '\0')) << "round " << round;
    }
}

} // namespace
} // namespace kelvane
