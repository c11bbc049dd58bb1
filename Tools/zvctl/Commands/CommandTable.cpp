#include "Command.h"
#include "Host.h"
#include "Options.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace
{

void Append(std::vector<Command>& commands, std::vector<Command> more)
{
    std::ranges::move(more, std::back_inserter(commands));
}

/// Every command accepts --json, so that a caller need not know which ones print something.
std::vector<Command> WithJson(std::vector<Command> commands)
{
    for (Command& command : commands)
        if (const auto names = command.Words.OptionNames(); std::ranges::find(names, "--json") == names.end())
            AddErrorJson(command.Words);
    return commands;
}

/// Adds the commands that work alone and as lines of a session.
std::vector<Command> AddCommonCommands(Syntax app)
{
    // The host's commands come first: without a command word, the first one runs.
    std::vector<Command> commands = Host::AddCommands(app);
    for (const auto add : {AddAdapterCommands, AddRequestCommands, AddRegCommands})
        Append(commands, add(app));
    commands.push_back(AddWatchCommand(app));
    commands.push_back(AddDoctorCommand(app));
    commands.push_back(AddExplainCommand(app));
    Append(commands, AddJournalCommands(app));
    return commands;
}

} // namespace

std::vector<Command> AddProgramCommands(Syntax app)
{
    std::vector<Command> commands = AddCommonCommands(app);
    Append(commands, Host::AddProgramCommands(app));
    commands.push_back(AddScriptCommand(app));
    commands.push_back(AddShellCommand(app));
    commands.push_back(AddHelpCommand(app));
    return WithJson(std::move(commands));
}

std::vector<Command> AddSessionCommands(Syntax app, bool& ended)
{
    std::vector<Command> commands = AddCommonCommands(app);
    Append(commands, Host::AddSessionCommands(app));
    Append(commands, AddWaitCommands(app));
    Append(commands, AddScriptLines(app));
    commands.push_back(AddHelpCommand(app));
    for (const char* name : {"quit", "exit"})
        commands.push_back({app.AddCommand(name, "End the session"), [&ended] { ended = true; }});
    return WithJson(std::move(commands));
}
