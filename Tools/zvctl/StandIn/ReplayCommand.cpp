// Replays a journal for a host.
#include "ChildProcess.h"
#include "EndSignals.h"
#include "Errors.h"
#include "EventView.h"
#include "Options.h"
#include "StandInCommands.h"

#include <Control.h>
#include <Replay.h>

#include <charconv>
#include <chrono>
#include <filesystem>
#include <fmt/core.h>
#include <iostream>
#include <optional>
#include <unistd.h>

namespace
{

using Clock = WakeSignal::Clock;

// How often the process checks its host. A change is due to the microsecond, so the pause before it is exact.
constexpr std::chrono::milliseconds CheckInterval{20};

struct ReplayOptions
{
    std::string File;
    double Speed = 1;
    bool Step = false;
    std::vector<std::string> Host;
};

void ParseSpeed(const std::string& text, double& speed)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), speed);
    if (error != std::errc() || end != text.data() + text.size() || !(speed > 0) || speed > 1e6)
        throw std::invalid_argument(fmt::format("\"{}\" is not a number above 0", text));
}

/// A folder that only the user can enter, for the socket.
class PrivateFolder
{
public:
    PrivateFolder()
    {
        std::string path = (std::filesystem::temp_directory_path() / "zvctl-replay.XXXXXX").string();
        if (mkdtemp(path.data()) == nullptr)
            throw std::runtime_error("no folder for the socket: " + path);
        Path = path;
    }
    ~PrivateFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(Path, ignored);
    }
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    std::filesystem::path Path;
};

/// Waits, and notices signals and the end of the host.
class Pause
{
public:
    explicit Pause(std::optional<ChildProcess>& host) : Host(host) { EndSignals::Take(Wake); }

    /// Returns false if the replay must end.
    bool Until(Clock::time_point time)
    {
        while (!IsOver())
        {
            if (Clock::now() >= time)
                return true;
            Wake.Clear();
            if (!EndSignals::Asked())
                Wake.WaitUntil(std::min(time, Clock::now() + CheckInterval));
        }
        return false;
    }

    bool IsOver() { return EndSignals::Asked() || (Host && Host->HasEnded()); }

private:
    std::optional<ChildProcess>& Host;
    WakeSignal Wake;
};

/// Waits for Enter before a change. Returns false at the end of the input.
bool AskForStep(const Platform::Replay& replay)
{
    fmt::print(stderr, "next: {}\n", replay.NextText());
    std::string line;
    return static_cast<bool>(std::getline(std::cin, line));
}

void MakeChanges(Platform::Replay& replay, const ReplayOptions& options, Pause& pause)
{
    while (!replay.HasAudience())
        if (!pause.Until(Clock::now() + CheckInterval))
            return;
    const auto start = Clock::now();
    while (replay.Left() != 0)
    {
        const auto due = start + std::chrono::duration_cast<Clock::duration>(replay.NextTime() / options.Speed);
        if (options.Step ? !AskForStep(replay) || pause.IsOver() : !pause.Until(due))
            return;
        replay.Step();
    }
}

void Replay(const ReplayOptions& options)
try
{
    Platform::Replay replay(options.File);
    const PrivateFolder folder;
    const std::string socket = folder.Path / "machine.sock";
    const Platform::ControlServer server(replay.Start(), socket);
    std::optional<ChildProcess> host;
    Pause pause(host);
    if (options.Host.empty())
        PrintNow(fmt::format("replaying {} at unix:{}", options.File, socket));
    else
        host.emplace(options.Host, "ZV_MACHINE", "unix:" + socket);
    MakeChanges(replay, options, pause);
    if (replay.Left() == 0)
        fmt::print(stderr, "zvctl: replay: all changes are made\n");
    while (!pause.IsOver())
        pause.Until(Clock::now() + CheckInterval);
    if (host && host->Finish() != 0)
        throw Failure(fmt::format("the host ended with code {}", host->Finish()));
}
catch (const Platform::MachineFileError& error)
{
    throw UsageError(error.what());
}

} // namespace

Command AddReplayCommand(Syntax app)
{
    const auto options = std::make_shared<ReplayOptions>();
    Syntax replay = app.AddCommand("replay", "Repeat the changes and answers of a journal for a host");
    replay.AddText("FILE", options->File, "Journal").Required();
    replay
        .AddParsed(
            "--speed", [options](const std::string& text) { ParseSpeed(text, options->Speed); },
            "Multiple of the recorded speed, such as 10 or 0.5")
        .ValueName("X");
    replay.AddFlag("--step", options->Step, "Make each change when Enter is pressed");
    replay.AddTexts("HOST", options->Host, "Host program and its arguments, after --; otherwise join as printed");
    return {replay, [options] { Replay(*options); }};
}
