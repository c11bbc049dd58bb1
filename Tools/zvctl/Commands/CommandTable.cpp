#include "Command.h"
#include "Host.h"

#include <algorithm>
#include <iterator>

std::vector<Command> AddToolCommands(Syntax app)
{
    // The host's commands come first: without a command word, the first one runs.
    std::vector<Command> commands = Host::AddCommands(app);
    for (const auto add : {AddAdapterCommands, AddRequestCommands, AddRegCommands})
        std::ranges::move(add(app), std::back_inserter(commands));
    commands.push_back(AddWatchCommand(app));
    return commands;
}
