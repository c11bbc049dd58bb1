// Commands that change the machine. The library receives the same messages as on Windows.
#include "Errors.h"
#include "MachineAdapters.h"
#include "Options.h"
#include "StandInCommands.h"

#include <fmt/core.h>
#include <stdexcept>

namespace
{

using Platform::AdapterId;
using Platform::Machine;

/// Options of all these commands; each uses some of them.
struct VerbOptions
{
    std::string Adapter;
    std::string Text;
    std::uint32_t Number = 0;
};

/// What a command does to the machine.
using Act = void (*)(Machine&, const VerbOptions&);

AdapterId Chosen(const Machine& machine, const VerbOptions& options)
{
    return ChooseMachineAdapter(machine, options.Adapter);
}

/// @throws std::runtime_error if a window denied the removal.
void RequireConsent(bool done)
{
    if (!done)
        throw std::runtime_error("a window denied the removal");
}

/// @param settings JSON, as in a machine file.
void Configure(Machine& machine, const VerbOptions& options, const std::string& settings)
{
    const std::string name = machine.Adapter(Chosen(machine, options)).ControlDeviceName;
    // Null while the adapter is absent.
    if (name.empty() || machine.Device(name) == nullptr)
        throw Failure("this adapter has no driver", ExitCode::NotReady);
    machine.ConfigureDevice(name, settings);
}

bool IsOn(const VerbOptions& options)
{
    return options.Text == "on";
}

Command AddVerb(Syntax app, const char* name, const char* help, const std::shared_ptr<VerbOptions>& options, Act act)
{
    return {app.AddCommand(name, help), [options, act] { act(*Platform::CurrentMachine(), *options); }};
}

/// Adds a command whose first argument is an adapter of the machine, including absent ones.
Command AddAdapterVerb(Syntax app, const char* name, const char* help, const std::shared_ptr<VerbOptions>& options,
                       Act act)
{
    Command verb = AddVerb(app, name, help, options, act);
    AddAdapter(verb.Words, options->Adapter);
    return verb;
}

Command AddPlainVerb(Syntax app, const char* name, const char* help, Act act)
{
    return AddVerb(app, name, help, std::make_shared<VerbOptions>(), act);
}

Command AddPlainAdapterVerb(Syntax app, const char* name, const char* help, Act act)
{
    return AddAdapterVerb(app, name, help, std::make_shared<VerbOptions>(), act);
}

void AddSwitch(Syntax verb, std::string& text)
{
    verb.AddChoice("on|off", text, {"on", "off"}, "").Required();
}

Command AddProblem(Syntax app)
{
    const auto options = std::make_shared<VerbOptions>();
    Command verb = AddAdapterVerb(
        app, "problem", "Set an adapter's problem number; 0 for none", options,
        [](Machine& machine, const VerbOptions& given) { machine.SetProblem(Chosen(machine, given), given.Number); });
    AddNumber(verb.Words, "N", options->Number, "10: cannot start; 22: disabled").Required();
    return verb;
}

Command AddDriverVersion(Syntax app)
{
    const auto options = std::make_shared<VerbOptions>();
    Command verb = AddAdapterVerb(app, "driver-version", "Replace an adapter's driver version", options,
                                  [](Machine& machine, const VerbOptions& given) {
                                      RequireConsent(machine.UpdateDriver(Chosen(machine, given), given.Text));
                                  });
    verb.Words.AddText("VERSION", options->Text, "").Required();
    return verb;
}

/// Reaches every setting that a driver can change while it runs.
Command AddDriver(Syntax app)
{
    const auto options = std::make_shared<VerbOptions>();
    Command verb =
        AddAdapterVerb(app, "driver", "Change the behaviour of an adapter's driver", options,
                       [](Machine& machine, const VerbOptions& given) { Configure(machine, given, given.Text); });
    verb.Words.AddText("JSON", options->Text, "Switches as in a machine file, such as '{\"refuse\": 31}'").Required();
    return verb;
}

Command AddSlow(Syntax app)
{
    const auto options = std::make_shared<VerbOptions>();
    Command verb = AddAdapterVerb(app, "slow", "Delay the requests of an adapter's driver", options,
                                  [](Machine& machine, const VerbOptions& given) {
                                      Configure(machine, given, fmt::format(R"({{"slowMs": {}}})", given.Number));
                                  });
    AddNumber(verb.Words, "MS", options->Number, "0 ends it").Required();
    return verb;
}

Command AddHang(Syntax app)
{
    const auto options = std::make_shared<VerbOptions>();
    Command verb = AddAdapterVerb(app, "hang", "Let all requests to an adapter's driver time out", options,
                                  [](Machine& machine, const VerbOptions& given) {
                                      Configure(machine, given, fmt::format(R"({{"hang": {}}})", IsOn(given)));
                                  });
    AddSwitch(verb.Words, options->Text);
    return verb;
}

Command AddRights(Syntax app)
{
    const auto options = std::make_shared<VerbOptions>();
    Command verb = AddVerb(app, "rights", "Give or take the right to enable and disable adapters", options,
                           [](Machine& machine, const VerbOptions& given) { machine.SetCallerRights(IsOn(given)); });
    AddSwitch(verb.Words, options->Text);
    return verb;
}

} // namespace

std::vector<Command> AddMachineCommands(Syntax app)
{
    return {
        AddPlainAdapterVerb(app, "plug", "Insert an adapter",
                            [](Machine& machine, const VerbOptions& given) { machine.Plug(Chosen(machine, given)); }),
        AddPlainAdapterVerb(app, "unplug", "Remove an adapter",
                            [](Machine& machine, const VerbOptions& given) { machine.Unplug(Chosen(machine, given)); }),
        AddPlainAdapterVerb(app, "uninstall", "Uninstall an adapter and its driver",
                            [](Machine& machine, const VerbOptions& given) {
                                RequireConsent(machine.Uninstall(Chosen(machine, given)));
                            }),
        AddProblem(app),
        AddDriverVersion(app),
        AddPlainVerb(app, "suspend", "Suspend the computer",
                     [](Machine& machine, const VerbOptions&) { machine.Suspend(); }),
        AddPlainVerb(app, "resume", "Resume the computer",
                     [](Machine& machine, const VerbOptions&) { machine.Resume(); }),
        AddDriver(app),
        AddSlow(app),
        AddHang(app),
        AddRights(app),
    };
}
