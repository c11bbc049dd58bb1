// Owns a machine that several processes share.
#include "EndSignals.h"
#include "Errors.h"
#include "EventView.h"
#include "Session.h"
#include "StandInCommands.h"

#include <Control.h>
#include <Journal.h>
#include <Machine.h>

#include <cstdlib>
#include <fmt/core.h>
#include <optional>
#include <unistd.h>

namespace
{

struct ServeOptions
{
    std::string Socket;
    std::string Journal;
};

/// The folder of the user's sessions is cleared at logout; its replacement belongs to the user too.
std::string DefaultSocket()
{
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    return folder != nullptr && *folder != '\0' ? fmt::format("{}/zvuwpsrvclib/machine.sock", folder)
                                                : fmt::format("/tmp/zvuwpsrvclib-{}/machine.sock", getuid());
}

void Serve(const ServeOptions& options)
{
    if (MachineIsShared())
        throw UsageError("another process owns this machine; serve a machine file");
    const std::shared_ptr<Platform::Machine> machine = Platform::CurrentMachine();
    // First, so that the journal contains all changes by clients.
    std::optional<Platform::Journal> journal;
    if (!options.Journal.empty())
        journal.emplace(machine, options.Journal, "zvctl serve");
    WakeSignal wake;
    // Before the first line, so that a caller that has read it can end the command by a signal.
    EndSignals::Take(wake);
    const Platform::ControlServer server(machine, options.Socket);
    PrintNow(fmt::format("serving {} at unix:{}", MachineSource(), options.Socket));
    while (!EndSignals::Asked())
    {
        wake.Clear();
        if (!EndSignals::Asked())
            wake.WaitUntil(WakeSignal::Clock::time_point::max());
    }
}

} // namespace

Command AddServeCommand(Syntax app)
{
    const auto options = std::make_shared<ServeOptions>(ServeOptions{.Socket = DefaultSocket(), .Journal = ""});
    Syntax serve = app.AddCommand("serve", "Own the machine for hosts that join it with ZV_MACHINE=unix:PATH");
    serve.AddText("--socket", options->Socket, "Unix domain socket on which to listen").ValueName("PATH");
    serve.AddText("--journal", options->Journal, "Write a journal of all changes and requests").ValueName("FILE");
    return {serve, [options] { Serve(*options); }};
}
