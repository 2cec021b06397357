// kelvane-cli asm: assembles one source into BASE.lst, BASE.obj and, with --hex, BASE.hex
// beside it, exactly as the Assembler window's built-in assembly does.
#include "assembler/assembler.h"
#include "cli/commands.h"

#include <cstdio>
#include <filesystem>
#include <memory>

namespace {

int asmcommand(const std::string& source, bool hex)
{
    const std::filesystem::path path(source);
    const std::string name = path.filename().string();
    const std::string parent = path.parent_path().string();
    const std::string folder = parent.empty() ? std::string(1, '.') : parent;
    if (name.empty()) {
        std::fprintf(stderr, "kelvane-cli asm: '%s' is not a file name\n", source.c_str());
        return 2;
    }
    // The outputs must not replace the source itself (a source named like PROG.lst).
    const std::string base = kelvane::asmbasename(name);
    for (const char* ext : {".lst", ".obj", ".hex"}) {
        if (base + ext == name && (hex || std::string(ext) != ".hex")) {
            std::fprintf(stderr, "kelvane-cli asm: the output %s would replace the source\n", name.c_str());
            return 2;
        }
    }
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) {
        std::fprintf(stderr, "kelvane-cli asm: can't open the source file %s\n", source.c_str());
        return 2;
    }

    kelvane::Assembler as;
    as.optgeneratehex = hex ? "ON" : "OFF";
    int32_t status = 1000; // no progress texts
    if (!as.assemblefile(folder, name, status)) {
        std::fprintf(stderr, "kelvane-cli asm: %s\n", as.fileerror.c_str());
        return 2;
    }
    if (status == 0)
        return 0;
    for (const auto& e : as.errors())
        std::fprintf(stderr, "%s:%d: Error: %s\n", source.c_str(), e.line, e.message.c_str());
    std::fprintf(stderr, "Number of errors = %d\n", status);
    return 1;
}

kelvane::cli::CommandBody setup(CLI::App& cmd)
{
    auto source = std::make_shared<std::string>();
    auto hex = std::make_shared<bool>(false);
    cmd.add_option("SOURCE", *source, "The assembler source; BASE.lst and BASE.obj go beside it")->required()->type_name("");
    cmd.add_flag("--hex", *hex, "Write BASE.hex too");
    return [source, hex] { return asmcommand(*source, *hex); };
}

const kelvane::cli::CliCommand reg("asm", "Assemble a source as the Assembler window does", setup);

} // namespace
