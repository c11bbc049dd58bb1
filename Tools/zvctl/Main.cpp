#include "Command.h"
#include "Errors.h"
#include "Host.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>
#include <functional>
#include <system_error>

namespace
{

const Command& ChosenCommand(const std::vector<Command>& commands)
{
    for (const Command& command : commands)
        if (command.Syntax->parsed())
            return command;
    return commands.front();
}

std::vector<Command> AddCommands(CLI::App& app)
{
    std::vector<Command> commands = AddToolCommands(app);
    commands.push_back(AddScriptCommand(app));
    commands.push_back(AddShellCommand(app));
    return commands;
}

int Fail(ExitCode code, const std::string& message)
{
    fmt::print(stderr, "zvctl: {}\n", message);
    return static_cast<int>(code);
}

int Run(const Command& command)
{
    try
    {
        command.Run();
        if (std::fflush(stdout) != 0)
            throw std::system_error(errno, std::generic_category(), "standard output");
        return static_cast<int>(ExitCode::Done);
    }
    catch (const UsageError& mistake)
    {
        return Fail(ExitCode::Usage, fmt::format("{}: {}", CommandName(*command.Syntax), mistake.what()));
    }
    catch (const std::exception& failure)
    {
        return Fail(ExitCode::OperationFailed, fmt::format("{}: {}", CommandName(*command.Syntax), failure.what()));
    }
}

int SetUpAndRun(const std::function<void()>& setUp, const Command& command)
{
    try
    {
        setUp();
    }
    catch (const UsageError& mistake)
    {
        return Fail(ExitCode::Usage, mistake.what());
    }
    catch (const std::exception& failure)
    {
        return Fail(ExitCode::OperationFailed, failure.what());
    }
    return Run(command);
}

} // namespace

int main(int argc, char** argv)
{
    Host::PrepareStreams();
    CLI::App app(Host::Description, "zvctl");
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.footer(Host::Footer);
    app.set_version_flag("--version", "zvctl " ZVCTL_VERSION);
    const std::function<void()> setUp = Host::AddOptions(app);
    const std::vector<Command> commands = AddCommands(app);
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? static_cast<int>(ExitCode::Done) : static_cast<int>(ExitCode::Usage);
    }
    const int code = SetUpAndRun(setUp, ChosenCommand(commands));
    std::fflush(nullptr);
    // A normal exit of the library would wait up to 2.5 seconds for each removed adapter, to check whether
    // its driver is uninstalled. Nothing would receive that event here.
    std::_Exit(code);
}
