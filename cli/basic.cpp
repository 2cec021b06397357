// kelvane-cli basic: compiles one BASIC source as the BASIC window's Compile does; the .asm goes
// beside the source. Exit 0 with the success message, 1 with "Error in line N: ..." (no file
// written), 2 for a usage error, a source that can't be read or an output that can't be written.
#include "basic/basic.h"
#include "cli/commands.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

namespace {

int refuse(const std::string& message)
{
    std::fprintf(stderr, "kelvane-cli basic: %s\n", message.c_str());
    return 2;
}

void printlines(std::FILE* out, const std::string& text)
{
    for (char c : text)
        if (c != '\r')
            std::fputc(c, out);
    std::fputc('\n', out);
}

int basiccommand(const std::string& sourcename)
{
    namespace fs = std::filesystem;
    const fs::path source(sourcename);
    const std::string name = source.filename().string();
    std::error_code ec;
    if (name.empty() || !fs::is_regular_file(source, ec))
        return refuse("can't open the source file " + sourcename);
    std::ifstream in(source, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!in.good() && !in.eof())
        return refuse("can't read the source file " + sourcename);
    if (text.empty()) {
        std::fprintf(stderr, "The editor is empty.\n"); // as the window refuses an empty editor
        return 2;
    }
    const std::string asmname = kelvane::basic::basicasmname(name);
    if (asmname == name)
        return refuse("the output " + asmname + " would replace the source");
    const std::string asmpath = (fs::absolute(source, ec).parent_path() / asmname).lexically_normal().string();

    kelvane::basic::BasicCompiler compiler;
    const std::string message = compiler.compilebasic(text, asmpath);
    if (!message.empty()) {
        printlines(stdout, message);
        return 0;
    }
    if (!compiler.writefailed) {
        printlines(stderr, compiler.errortext);
        return 1;
    }
    return refuse(compiler.errortext);
}

kelvane::cli::CommandBody setup(CLI::App& cmd)
{
    auto source = std::make_shared<std::string>();
    cmd.add_option("SOURCE", *source, "The BASIC source; BASE.asm goes beside it")->required()->type_name("");
    return [source] { return basiccommand(*source); };
}

const kelvane::cli::CliCommand reg("basic", "Compile a BASIC source as the BASIC window's Compile does", setup);

} // namespace
