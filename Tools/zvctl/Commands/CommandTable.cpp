#include "Command.h"
#include "Host.h"

#include <algorithm>
#include <iterator>

std::string CommandName(const CLI::App& command)
{
    const CLI::App& parent = *command.get_parent();
    return parent.get_parent() == nullptr ? command.get_name() : parent.get_name() + ' ' + command.get_name();
}

const CLI::App* FindCommand(const CLI::App& app, std::string_view name)
{
    const auto found = app.get_subcommands([&](const CLI::App* command) { return command->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

std::vector<Command> AddToolCommands(CLI::App& app)
{
    std::vector<Command> commands = Host::AddCommands(app);
    for (const auto add :
         {AddListCommand, AddInfoCommand, AddAbilityCommand, AddGetCommand, AddSetCommand, AddIoctlCommand})
        commands.push_back(add(app));
    for (const auto add : {AddRegCommands, AddNicCommands})
        std::ranges::move(add(app), std::back_inserter(commands));
    commands.push_back(AddWatchCommand(app));
    return commands;
}
