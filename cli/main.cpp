// Entry of kelvane-cli: dispatches to the registered subcommands.
#include "commands.h"

#include <cstdio>
#include <cstring>

namespace kelvane::cli {

std::vector<CommandEntry>& commandtable()
{
    static std::vector<CommandEntry> table;
    return table;
}

CliCommand::CliCommand(const char* name, const char* usage, CommandFn fn)
{
    commandtable().push_back({name, usage, fn});
}

} // namespace kelvane::cli

static void usage()
{
    std::fprintf(stderr, "usage:\n");
    for (const auto& c : kelvane::cli::commandtable())
        std::fprintf(stderr, "  kelvane-cli %s %s\n", c.name, c.usage);
}

int main(int argc, char** argv)
{
    if (argc < 2) {
        usage();
        return 2;
    }
    for (const auto& c : kelvane::cli::commandtable()) {
        if (std::strcmp(c.name, argv[1]) == 0) {
            std::vector<std::string> args(argv + 2, argv + argc);
            return c.fn(args);
        }
    }
    std::fprintf(stderr, "kelvane-cli: unknown command '%s'\n", argv[1]);
    usage();
    return 2;
}
