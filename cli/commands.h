// The subcommand registry of kelvane-cli: each cli/*.cpp adds its command with a static
// CliCommand object; main() looks the first argument up here.
#pragma once
#include <string>
#include <vector>

namespace kelvane::cli {

using CommandFn = int (*)(const std::vector<std::string>& args);

struct CliCommand {
    CliCommand(const char* name, const char* usage, CommandFn fn);
};

struct CommandEntry {
    const char* name;
    const char* usage;
    CommandFn fn;
};

std::vector<CommandEntry>& commandtable();

} // namespace kelvane::cli
