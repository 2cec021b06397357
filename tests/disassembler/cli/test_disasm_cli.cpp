// kelvane-cli disasm: the result text on standard output, the loader's refusals on standard
// error with their exit status, nothing left in the program's folder, and runs side by side.
#include "testutil.h"

#include "progfiles/hexfile.h"

#include <sys/wait.h>

#include <fstream>
#include <future>

namespace kelvane {
namespace {

struct CliResult {
    int status = -1;
    std::string out, err;
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

// Runs kelvane-cli disasm with args; its outputs go to files in a folder of their own.
CliResult disasm(const std::vector<std::string>& args)
{
    test::WorkFolder io;
    auto quote = [](const std::string& s) {
        std::string q = "'";
        for (char c : s)
            q += c == '\'' ? std::string("'\\''") : std::string(1, c);
        return q + "'";
    };
    std::string cmd = quote(KELVANE_CLI_PATH) + " disasm";
    for (const auto& a : args)
        cmd += " " + quote(a);
    cmd += " >" + quote((io.path() / "out").string()) + " 2>" + quote((io.path() / "err").string());
    const int rc = std::system(cmd.c_str());
    return {WIFEXITED(rc) ? WEXITSTATUS(rc) : -1, slurp(io.path() / "out"), slurp(io.path() / "err")};
}

TEST(DisasmCli, PrintsTheEngineTextForObjAndHexFiles)
{
    std::mt19937 rng(77);
    test::WorkFolder dir, enginedir;
    spit(dir.path() / "notes.txt", "mine");
    for (int round = 0; round < 4; ++round) {
        const std::vector<uint8_t> img = test::randomimage(rng, test::randomsize(rng), true);
        spit(dir.path() / "prog.obj", std::string(img.begin(), img.end()));
        std::vector<int32_t> mem(img.begin(), img.end());
        mem.resize(65536);
        spit(dir.path() / "prog.txt", hexfiletext(mem.data(), static_cast<int32_t>(img.size()) - 1));
        for (bool src : {false, true}) {
            const std::string want = test::disassemblebytes(img, src, enginedir.path());
            std::vector<std::vector<std::string>> runs = {{(dir.path() / "prog.obj").string()},
                                                          {"--format", "hex", (dir.path() / "prog.txt").string()}};
            for (auto& args : runs) {
                if (src)
                    args.push_back("--source");
                const CliResult r = disasm(args);
                EXPECT_EQ(r.status, 0) << r.err;
                EXPECT_EQ(r.err, "");
                EXPECT_TRUE(r.out == want) << "round " << round << " " << args[0];
            }
        }
    }
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"notes.txt", "prog.obj", "prog.txt"}));
    EXPECT_EQ(slurp(dir.path() / "notes.txt"), "mine");
}

TEST(DisasmCli, ProgramNamedLikeAWorkingFileSurvives)
{
    test::WorkFolder dir, enginedir;
    const std::vector<uint8_t> prog = {0xC3, 0x03, 0x00, 0x76};
    for (const char* name : {dasmresultname, dasmintermediatename}) {
        spit(dir.path() / name, std::string(prog.begin(), prog.end()));
        const CliResult r = disasm({(dir.path() / name).string(), "--format", "obj"});
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, test::disassemblebytes(prog, false, enginedir.path()));
        EXPECT_EQ(slurp(dir.path() / name), std::string(prog.begin(), prog.end())) << name;
        EXPECT_EQ(dir.entries(), (std::vector<std::string>{name}));
        std::filesystem::remove(dir.path() / name);
    }
}

TEST(DisasmCli, RefusalsAndUsageErrors)
{
    test::WorkFolder dir;
    spit(dir.path() / "full.obj", std::string(65536, '\0'));
    CliResult r = disasm({(dir.path() / "full.obj").string()});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\n5536   FFFF 00                  NOP\n"), std::string::npos);

    const std::string p = (dir.path() / "full.obj").string();
    const struct {
        const char* name;
        std::string content;
        std::vector<std::string> args;
        int status;
        const char* message;
    } cases[] = {
        {"empty.obj", "", {}, 1, "The size of the selected file is zero."},
        {"big.obj", std::string(65537, '\0'), {}, 1, "The size of the selected file is greater than 64K."},
        {"bad.hex", ":0100000000FE\r\n", {}, 1, "Intel Hex Format contains errors."},
        {nullptr, "", {}, 2, "usage: kelvane-cli disasm"},
        {nullptr, "", {p, "--format"}, 2, "usage: kelvane-cli disasm"},
        {nullptr, "", {p, "--format", "bin"}, 2, "usage: kelvane-cli disasm"},
        {nullptr, "", {p, "--listing"}, 2, "usage: kelvane-cli disasm"},
        {nullptr, "", {p, p}, 2, "usage: kelvane-cli disasm"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> args = c.args;
        if (c.name != nullptr) {
            spit(dir.path() / c.name, c.content);
            args.push_back((dir.path() / c.name).string());
        }
        r = disasm(args);
        EXPECT_EQ(r.status, c.status) << c.message;
        EXPECT_EQ(r.out, "") << c.message;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
    }
    r = disasm({(dir.path() / "none.obj").string()});
    EXPECT_NE(r.status, 0);
    EXPECT_NE(r.err, "");
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"bad.hex", "big.obj", "empty.obj", "full.obj"}));
}

TEST(DisasmCli, RunsInOneFolderSideBySide)
{
    // The working files have fixed names; runs in the same folder must not mix them up.
    std::mt19937 rng(5);
    test::WorkFolder dir, enginedir;
    std::vector<std::future<CliResult>> runs;
    std::vector<std::vector<uint8_t>> imgs;
    for (int k = 0; k < 8; ++k) {
        imgs.push_back(test::randomimage(rng, 20000 + rng() % 40000, true));
        const auto path = dir.path() / ("p" + std::to_string(k) + ".obj");
        spit(path, std::string(imgs.back().begin(), imgs.back().end()));
        runs.push_back(std::async(std::launch::async, [path] { return disasm({path.string(), "--source"}); }));
    }
    for (size_t k = 0; k < runs.size(); ++k) {
        const CliResult r = runs[k].get();
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_TRUE(r.out == test::disassemblebytes(imgs[k], true, enginedir.path())) << "run " << k;
    }
    EXPECT_EQ(dir.entries().size(), 8u);
}

} // namespace
} // namespace kelvane
