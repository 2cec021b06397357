// The subcommand registry of kelvane-cli: each cli/*.cpp adds its command with a static
// CliCommand object whose setup declares the options on the parser and returns the command's
// body; main() builds the parser from the table and runs the body of the command given.
#pragma once
#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <vector>

namespace kelvane::cli {

// The body of a parsed command; returns the exit status.
using CommandBody = std::function<int()>;
using CommandSetup = CommandBody (*)(CLI::App& command);

struct CliCommand {
    CliCommand(const char* name, const char* description, CommandSetup setup);
};

struct CommandEntry {
    const char* name;
    const char* description;
    CommandSetup setup;
};

std::vector<CommandEntry>& commandtable();

// Refuses an option's value while the command line is parsed: the message is printed as
// "kelvane-cli COMMAND: message" with the command's usage, and the exit status is 2.
[[noreturn]] inline void badvalue(const std::string& message)
{
    throw CLI::ValidationError(message);
}

// An option of one value, handed to take when the line is parsed; given again, the last holds.
CLI::Option* singleoption(CLI::App& cmd, const std::string& name, const std::string& type, const std::string& help,
                          std::function<void(const std::string&)> take);
// An option that may be given again: each value is handed to take, in the order given.
CLI::Option* repeatedoption(CLI::App& cmd, const std::string& name, const std::string& type,
                            const std::string& help, std::function<void(const std::string&)> take);

// Upper-case copy of a text, for hex digits and names given in any case.
std::string uppertext(std::string text);

} // namespace kelvane::cli
