// kelvane-cli disasm: loads a program as the Disassembler window does and prints the listing,
// or with --source the assembler source, on standard output. The engine's two working files
// go to the program's folder and are gone when the command ends, also on failure or a signal.
#include "cli/commands.h"
#include "disassembler/disassembler.h"
#include "progfiles/programload.h"

#include <cctype>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace kelvane::cli {

namespace {

// Paths of the working files, fixed before a run so that a signal handler can remove them.
char pendingintermediate[4096];
char pendingresult[4096];
volatile std::sig_atomic_t pendingset = 0;

extern "C" void removeworkfiles(int sig)
{
    if (pendingset) {
        ::unlink(pendingintermediate);
        ::unlink(pendingresult);
    }
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

// For the duration of one run: the working files are named for the signal handler, and the
// folder is locked so that two commands working in the same folder take turns.
class RunGuard {
public:
    explicit RunGuard(const Disassembler& d)
    {
        copy(pendingintermediate, d.intermediatepath().string());
        copy(pendingresult, d.resultpath().string());
        pendingset = 1;
        const std::string folder = d.workfolder.empty() ? std::string(".") : d.workfolder.string();
        folderfd_ = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (folderfd_ >= 0)
            ::flock(folderfd_, LOCK_EX);
    }
    ~RunGuard()
    {
        pendingset = 0;
        if (folderfd_ >= 0)
            ::close(folderfd_); // releases the lock
    }
    RunGuard(const RunGuard&) = delete;
    RunGuard& operator=(const RunGuard&) = delete;

private:
    int folderfd_ = -1;
    static void copy(char* dst, const std::string& src)
    {
        const size_t n = std::min(src.size(), sizeof pendingresult - 1);
        std::memcpy(dst, src.data(), n);
        dst[n] = '\0';
    }
};

// One run in folder: disassemble, take the result text, leave nothing behind.
bool runin(Disassembler& d, const std::filesystem::path& folder, bool sourceform, std::string& text)
{
    d.workfolder = folder;
    RunGuard guard(d);
    if (!d.disassemble(true, sourceform))
        return false;
    if (!d.takeresult(text)) {
        d.dasmerror = "Cannot read the file " + d.resultpath().string() + ".";
        return false;
    }
    return true;
}

// A new private folder under the system's temporary folder, for when the program's folder
// can't take the working files.
std::filesystem::path makeprivatefolder()
{
    std::error_code ec;
    const auto base = std::filesystem::temp_directory_path(ec);
    if (ec)
        return {};
    std::random_device rd;
    for (int tries = 0; tries < 100; ++tries) {
        auto p = base / ("kelvane-disasm-" + std::to_string(::getpid()) + "-" + std::to_string(rd()));
        if (std::filesystem::create_directory(p, ec) && !ec) {
            std::filesystem::permissions(p, std::filesystem::perms::owner_all, std::filesystem::perm_options::replace, ec);
            return p;
        }
    }
    return {};
}

struct DisasmOptions {
    std::string program;
    std::string format;
    bool sourceform = false;
};

int disasmcommand(const DisasmOptions& o)
{
    const std::string& program = o.program;
    const bool sourceform = o.sourceform;
    auto d = std::make_unique<Disassembler>();
    const ProgramLoadResult load = loadprogram(program, o.format, d->dasmimage.data());
    if (load.status != LoadStatus::ok) {
        std::fprintf(stderr, "%s\n", load.message.c_str());
        return load.exitcode();
    }
    d->dasmsize = load.size;

    for (int sig : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        std::signal(sig, removeworkfiles);

    std::error_code ec;
    std::filesystem::path folder = std::filesystem::absolute(program, ec).parent_path();
    if (ec)
        folder = std::filesystem::path(program).parent_path();

    // A program that is itself one of the working files would be deleted by the run: work
    // elsewhere then.
    bool programiswork = false;
    for (const char* name : {dasmresultname, dasmintermediatename})
        programiswork = programiswork || std::filesystem::equivalent(program, folder / name, ec);

    std::string text;
    if (programiswork || !runin(*d, folder, sourceform, text)) {
        // The program's folder can't take the working files (read-only, for one): work in a
        // private folder instead, and remove it afterwards.
        const std::string firsterror = programiswork ? std::string("cannot make a folder for the working files") : d->dasmerror;
        const std::filesystem::path priv = makeprivatefolder();
        bool ok = false;
        if (!priv.empty()) {
            ok = runin(*d, priv, sourceform, text);
            std::filesystem::remove_all(priv, ec);
        }
        if (!ok) {
            std::fprintf(stderr, "kelvane-cli disasm: %s\n", firsterror.c_str());
            return 1;
        }
    }

    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
        std::fprintf(stderr, "kelvane-cli disasm: cannot write to standard output\n");
        return 1;
    }
    return 0;
}

CommandBody setup(CLI::App& cmd)
{
    auto o = std::make_shared<DisasmOptions>();
    cmd.add_option("PROGRAM", o->program, "The program: Intel HEX when it ends in .hex, else a binary image")
        ->required()->type_name("");
    cmd.add_option_function<std::string>(
           "--format",
           [o](const std::string& v) {
               o->format = v;
               for (char& c : o->format)
                   c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
               if (o->format != "hex" && o->format != "obj")
                   badvalue("unknown format '" + o->format + "' (use hex or obj)");
           },
           "Read PROGRAM as Intel HEX or as a binary image")
        ->type_name("hex|obj")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    cmd.add_flag("--source", o->sourceform, "Print the assembler source instead of the listing");
    return [o] { return disasmcommand(*o); };
}

const CliCommand reg("disasm", "Disassemble a program as the Disassembler window does", setup);

} // namespace

} // namespace kelvane::cli
