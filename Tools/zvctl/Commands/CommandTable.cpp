#include "Command.h"
#include "Host.h"

#include <algorithm>
#include <iterator>

std::vector<Command> AddToolCommands(Syntax app)
{
    std::vector<Command> commands = Host::AddCommands(app);
    for (const auto add : {AddAdapterCommands, AddRequestCommands, AddRegCommands})
        std::ranges::move(add(app), std::back_inserter(commands));
    commands.push_back(AddWatchCommand(app));
    return commands;
}
