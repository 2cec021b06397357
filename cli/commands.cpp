// The command table of kelvane-cli and the option helpers its commands share.
#include "cli/commands.h"

#include <cctype>
#include <utility>

namespace kelvane::cli {

std::vector<CommandEntry>& commandtable()
{
    static std::vector<CommandEntry> table;
    return table;
}

CliCommand::CliCommand(const char* name, const char* description, CommandSetup setup)
{
    commandtable().push_back({name, description, setup});
}

CLI::Option* singleoption(CLI::App& cmd, const std::string& name, const std::string& type, const std::string& help,
                          std::function<void(const std::string&)> take)
{
    return cmd.add_option_function<std::string>(name, std::move(take), help)
        ->type_name(type)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

CLI::Option* repeatedoption(CLI::App& cmd, const std::string& name, const std::string& type,
                            const std::string& help, std::function<void(const std::string&)> take)
{
    return cmd
        .add_option_function<std::vector<std::string>>(
            name,
            [take = std::move(take)](const std::vector<std::string>& values) {
                for (const std::string& v : values)
                    take(v);
            },
            help)
        ->type_name(type)
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

std::string uppertext(std::string text)
{
    for (auto& ch : text)
        ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    return text;
}

} // namespace kelvane::cli
