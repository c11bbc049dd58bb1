#include "Command.h"
#include "Errors.h"
#include "Options.h"
#include "Session.h"
#include "TracePrinter.h"

#include <Machine.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>
#include <optional>
#include <system_error>

namespace
{

constexpr const char* Footer = "Without a command, tour runs. \"zvctl COMMAND --help\" tells more of one.\n"
                               "Numbers are decimal or, with 0x, hexadecimal.\n"
                               "The machine is --machine FILE, else the file that ZV_MACHINE names, else a built-in "
                               "one.\n"
                               "Exit codes: 0 done; 1 the operation failed; 2 wrong usage or a bad machine file.";

struct GlobalOptions
{
    std::string Machine;
    std::optional<TraceSettings> Trace;
};

void AddGlobalOptions(CLI::App& app, GlobalOptions& options)
{
    app.set_version_flag("--version", "zvctl " ZVCTL_VERSION);
    app.add_option("--machine", options.Machine, "JSON description of the machine to work on")->type_name("FILE");
    AddParsedOption(app, "--trace", options.Trace, ParseTraceSettings,
                    "Show the library's trace on stderr up to LEVEL (1 to 4), of the components in FLAGS "
                    "(1 service, 2 device, 4 device manager, 8 notification, 16 system events; default 0x1F)")
        ->type_name("LEVEL[:FLAGS]");
}

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

int Run(const Command& command, const GlobalOptions& options)
{
    try
    {
        InstallMachine(options.Machine);
        if (options.Trace)
            StartTracePrinter(*options.Trace);
        command.Run();
        if (std::fflush(stdout) != 0)
            throw std::system_error(errno, std::generic_category(), "standard output");
        return static_cast<int>(ExitCode::Done);
    }
    catch (const Platform::MachineFileError& mistake)
    {
        return Fail(ExitCode::Usage, mistake.what());
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

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("Works with the Wi-Fi adapters of a described machine through ZVUWPSrvcLib.", "zvctl");
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.footer(Footer);
    GlobalOptions options;
    AddGlobalOptions(app, options);
    const std::vector<Command> commands = AddCommands(app);
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? static_cast<int>(ExitCode::Done) : static_cast<int>(ExitCode::Usage);
    }
    const int code = Run(ChosenCommand(commands), options);
    std::fflush(nullptr);
    // The library's orderly end would wait up to 2.5 seconds for each adapter that has just gone, to
    // see whether its driver goes too, and nobody is left here to hear of it.
    std::quick_exit(code);
}
