#include "Errors.h"
#include "Host.h"
#include "MachineAdapters.h"
#include "Options.h"
#include "Session.h"
#include "StandInCommands.h"
#include "TracePrinter.h"

#include <optional>

namespace
{

struct MachineOptions
{
    std::string File = {};
    std::string Connect = {};
    std::optional<TraceSettings> Trace;
};

} // namespace

const char Host::Description[] = "Works with the Wi-Fi adapters of a described machine through ZVUWPSrvcLib.";

const char Host::Footer[] = "Without a command, tour runs. \"zvctl COMMAND --help\" describes a command.\n"
                            "Numbers are decimal or, with 0x, hexadecimal.\n"
                            "The machine is --machine FILE, or the file named by ZV_MACHINE, or a built-in "
                            "one.";

/// POSIX streams need no preparation.
void Host::PrepareStreams() {}

std::function<void()> Host::AddOptions(Syntax app)
{
    const auto options = std::make_shared<MachineOptions>();
    const Option file =
        app.AddText("--machine", options->File, "JSON file that describes the machine").ValueName("FILE");
    app.AddText("--connect", options->Connect, "Work on the machine of the host that listens at this socket")
        .ValueName("PATH")
        .Excludes(file);
    app.AddParsed(
           "--trace", [options](const std::string& text) { options->Trace = ParseTraceSettings(text); },
           "Print the library's trace to stderr up to LEVEL (1 fatal, 3 ordinary, 4 all; 2 as 1) for the components "
           "in FLAGS "
           "(1 service, 2 device, 4 device manager, 8 notification, 16 window messages; default 0x1F)")
        .ValueName("LEVEL[:FLAGS]");
    return [options] {
        InstallMachine(options->Connect.empty() ? options->File : "unix:" + options->Connect);
        if (options->Trace)
            StartTracePrinter(*options->Trace);
    };
}

std::vector<Command> Host::AddCommands(Syntax app)
{
    return {AddTourCommand(app)};
}

std::vector<Command> Host::AddProgramCommands(Syntax app)
{
    std::vector<Command> commands{AddServeCommand(app), AddReplayCommand(app), AddCallCommand(app),
                                  AddChangesCommand(app)};
    for (Command& verb : AddMachineCommands(app))
        commands.push_back({verb.Words, [verb] {
                                // The effect on a machine of this process would end with the command.
                                if (!MachineIsShared())
                                    throw UsageError("this command changes the machine of another process, which "
                                                     "--connect names, or works in 'zvctl shell' and 'zvctl script'");
                                verb.Run();
                            }});
    return commands;
}

void Host::RunProtocol(const std::string& file, bool stopAtFailure)
{
    RunControlLines(file, stopAtFailure);
}

std::vector<Command> Host::AddSessionCommands(Syntax app)
{
    return AddMachineCommands(app);
}

Host::Surroundings Host::Inspect()
{
    return {.Source = MachineSource(),
            .IsAdministrator = Platform::CurrentMachine()->HasCallerRights(),
            .HasEventWindow = Platform::CountOpenObjects().Windows > 0};
}

std::vector<AdapterFacts> Host::Facts()
{
    return MachineAdapterFacts(*Platform::CurrentMachine());
}

std::vector<AdapterName> Host::KnownAdapters()
{
    return MachineAdapterNames(*Platform::CurrentMachine());
}
