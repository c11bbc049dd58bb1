/// A host process that ends in a named way while the library is at some work.
///
/// "process_host kinds" prints the pairs of work and ending, one a line. "process_host WORK ENDING
/// DRIVERS" carries one out, with the simulated driver in the folder DRIVERS where the work is with
/// it. It ends with code 7 from the ending that was named, and with no other.

#include "ProcessWork.h"

#include "HostCalls.h"
#include "ProcessWait.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <thread>
#include <utility>

namespace
{

constexpr int AsNamed = 7;

constinit Host kept; ///< Destroyed by the process and not by main.
std::atomic<void (*)(int)> endInCallback{nullptr};

void Hear(void* /*context*/, std::uint32_t event, const _ZV_WLAN_NOTIFY_DATA* /*data*/)
{
    lastEvent = event;
    NotifyChange();
    if (const auto end = endInCallback.exchange(nullptr))
        end(AsNamed);
}

[[noreturn]] void WaitForTheEnd()
{
    for (;;)
        std::this_thread::sleep_for(std::chrono::hours(1));
}

int Return(Host& /*host*/)
{
    return AsNamed;
}

int KeepAndReturn(Host& host)
{
    kept = std::move(host);
    return AsNamed;
}

int Exit(Host& /*host*/)
{
    std::exit(AsNamed);
}

int EndAtOnce(Host& /*host*/)
{
    std::_Exit(AsNamed);
}

template <auto End>
int EndInCallback(Host& host)
{
    endInCallback = [](int code) { End(code); };
    Source(host)(0x218, 4);
    WaitForTheEnd();
}

int ExitInCompletion(Host& host)
{
    const std::shared_ptr<CDeviceIntf> device = Open(host, PromptAdapter(host));
    SendAsync(*device, 1000, [](void*, std::uint32_t, const _ZV_ASYNC_RESULT*) { std::exit(AsNamed); }, 1);
    WaitForTheEnd();
}

/// Another thread ends the process while this one makes one call after the other.
int ExitBeside(Host& host)
{
    static std::atomic<bool> inside{false};
    std::thread([] {
        AwaitChange(inside, false);
        std::exit(AsNamed);
    }).detach();
    const std::string identity = PromptAdapter(host);
    Open(host, identity);
    inside = true;
    NotifyChange();
    for (;;)
        TryToOpen(host, identity);
}

struct Ending
{
    const char* Name;
    int (*End)(Host&);
};

constexpr Ending Endings[] = {
    {"exit", &Exit},
    {"return", &Return},
    {"return-keeping", &KeepAndReturn},
    {"at-once", &EndAtOnce},
    {"callback", &EndInCallback<&std::exit>},
    {"callback-at-once", &EndInCallback<&std::_Exit>},
    {"completion", &ExitInCompletion},
    {"beside", &ExitBeside},
};

bool Fits(const Work& work, const Ending& ending)
{
    // What is waited for at the end, seconds, has one ending. A simulated driver brings no completion.
    if (work.IsSlow)
        return ending.End == &Exit;
    return !work.Simulated || ending.End != &ExitInCompletion;
}

int Run(const Work& work, const Ending& ending, const char* drivers)
{
    Host host;
    host.Simulated = work.Simulated;
    if (work.Simulated)
        std::filesystem::current_path(drivers);
    host.Manager = MakeManager();
    _ZV_WLAN_NOTIFY_HDLR client{&Hear, nullptr, 0, 0};
    host.Manager->RegisterNotification(&client);
    work.Begin(host);
    return ending.End(host);
}

} // namespace

int main(int argc, char** argv)
{
    const bool tells = argc == 2 && std::string_view(argv[1]) == "kinds";
    for (const Work& work : Works())
        for (const Ending& ending : Endings)
            if (tells && Fits(work, ending))
                std::printf("%s %s\n", work.Name, ending.Name);
            else if (argc == 4 && std::string_view(argv[1]) == work.Name && std::string_view(argv[2]) == ending.Name)
                return Run(work, ending, argv[3]);
    return tells ? 0 : 2;
}
