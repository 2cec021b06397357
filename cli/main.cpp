// Entry of kelvane-cli: one parser with a subcommand per registered command; help and version
// on standard output with exit 0, a refused command line on standard error with exit 2.
#include "commands.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <utility>

#ifndef KELVANE_VERSION
#error "KELVANE_VERSION comes from the project's version in CMake"
#endif

namespace kelvane::cli {

namespace {

// "kelvane-cli run: message", the command's usage line and where to find its options.
int refuse(const CLI::Formatter& formatter, const CLI::App& app, const CLI::App* command, const std::string& message)
{
    const CLI::App& where = command ? *command : app;
    const std::string name = command ? "kelvane-cli " + command->get_name() : std::string("kelvane-cli");
    std::cerr << name << ": " << message << "\n"
              << formatter.make_usage(&where, name) << "Run '" << name << " --help' for more information.\n";
    return 2;
}

// What is wrong with the command line, in the words a user expects: an unknown option or
// command is named before a missing argument.
std::string refusaltext(const CLI::App& where, const CLI::ParseError& e, const char* first)
{
    const bool top = where.get_parent() == nullptr;
    if (top && first[0] != '-')
        return std::string("unknown command '") + first + "'";
    for (const std::string& extra : where.remaining())
        if (extra.size() > 1 && extra[0] == '-')
            return "unknown option '" + extra + "'";
    std::string text = e.what();
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&e) && text.find(':') != std::string::npos)
        return text.substr(0, text.find(':')) + " needs a value";
    // "The following argument was not expected: b" reads on after "kelvane-cli basic: ".
    if (text.size() > 1 && std::isupper(static_cast<unsigned char>(text[0])) &&
        std::islower(static_cast<unsigned char>(text[1])))
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    return text;
}

} // namespace

} // namespace kelvane::cli

int main(int argc, char** argv)
{
    using namespace kelvane::cli;
    CLI::App app("kelvane-cli: the Kelvane 8085 machine, assembler, disassembler and BASIC compiler without windows.",
                 "kelvane-cli");
    const auto formatter = std::make_shared<CLI::Formatter>();
    for (const auto& [label, text] : {std::pair{"Usage", "usage"}, {"SUBCOMMAND", "COMMAND"},
                                      {"Positionals", "Arguments"}, {"REQUIRED", "(required)"}})
        formatter->label(label, text);
    formatter->column_width(28);
    app.formatter(formatter);
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.set_version_flag("--version", "kelvane-cli " KELVANE_VERSION, "Print the version and exit");
    app.require_subcommand(1);

    auto table = commandtable();
    std::sort(table.begin(), table.end(), [](const auto& x, const auto& y) { return std::strcmp(x.name, y.name) < 0; });
    std::vector<std::pair<CLI::App*, CommandBody>> commands;
    for (const CommandEntry& c : table) {
        CLI::App* sub = app.add_subcommand(c.name, c.description);
        sub->set_help_flag("-h,--help", "Print this help and exit");
        sub->group("Commands");
        commands.emplace_back(sub, c.setup(*sub));
    }
    app.footer("Run 'kelvane-cli COMMAND --help' for the options of a command.");

    if (argc < 2) {
        std::cerr << app.help();
        return 2;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& e) { // --help, --version
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        const auto chosen = app.get_subcommands();
        const CLI::App* command = chosen.empty() ? nullptr : chosen.front();
        return refuse(*formatter, app, command, refusaltext(command ? *command : app, e, argv[1]));
    }
    for (auto& [sub, body] : commands)
        if (sub->parsed())
            return body();
    return 2;
}
