#include "Command.h"
#include "Errors.h"
#include "Host.h"

#include <cstdio>
#include <cstdlib>
#include <fmt/core.h>
#include <functional>

namespace
{

const Command& ChosenCommand(const std::vector<Command>& commands)
{
    for (const Command& command : commands)
        if (command.Words.IsChosen())
            return command;
    // The host's default command, tour or list; see AddToolCommands.
    return commands.front();
}

std::vector<Command> AddCommands(Syntax app)
{
    std::vector<Command> commands = AddToolCommands(app);
    commands.push_back(AddScriptCommand(app));
    commands.push_back(AddShellCommand(app));
    return commands;
}

/// Returns the exit code of an action and prints its failure.
/// @param operation what the message names; empty if the failure names it.
ExitCode Try(const std::string& operation, const std::function<void()>& action)
{
    const auto fail = [&](ExitCode code, const std::exception& failure) {
        fmt::print(stderr, "zvctl: {}{}{}\n", operation, operation.empty() ? "" : ": ", failure.what());
        return code;
    };
    try
    {
        action();
        return ExitCode::Success;
    }
    // Before std::exception, its base class.
    catch (const UsageError& mistake)
    {
        return fail(ExitCode::Usage, mistake);
    }
    catch (const std::exception& failure)
    {
        return fail(ExitCode::OperationFailed, failure);
    }
}

/// Adds what the user can do.
bool ParseArguments(CommandLine& line, int count, char** arguments)
try
{
    return line.Parse({arguments + 1, arguments + count});
}
catch (const UsageError& mistake)
{
    const std::string name = line.ChosenName();
    throw UsageError(fmt::format("{}; run 'zvctl {}{}--help'", mistake.what(), name, name.empty() ? "" : " "));
}

ExitCode Run(int count, char** arguments)
{
    CommandLine line(
        {.Name = "zvctl", .Version = ZVCTL_VERSION, .Description = Host::Description, .Footer = Host::Footer});
    // Runs after parsing, because the options determine which machine the commands use.
    const std::function<void()> setUp = Host::AddOptions(line.Root());
    const std::vector<Command> commands = AddCommands(line.Root());
    bool isCommand = false;
    const ExitCode prepared = Try("", [&] {
        isCommand = ParseArguments(line, count, arguments);
        if (isCommand)
            setUp();
    });
    if (prepared != ExitCode::Success || !isCommand)
        return prepared;
    const Command& command = ChosenCommand(commands);
    return Try(command.Words.Name(), [&command] {
        command.Run();
        FlushOutput();
    });
}

} // namespace

int main(int argc, char** argv)
{
    Host::PrepareStreams();
    const ExitCode code = Run(argc, argv);
    std::fflush(nullptr);
    // A normal exit of the library would wait up to 2.5 seconds for each removed adapter, to check whether
    // its driver is uninstalled. Nothing would receive that event here.
    std::_Exit(static_cast<int>(code));
}
