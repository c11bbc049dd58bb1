#include "Quiet.h"

#include "CallActivity.h"
#include "RequestTable.h"
#include "ThreadQueue.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace Platform
{

namespace
{

using namespace std::chrono;

/// Longer than the pauses of 1 ms with which the library waits for a thread.
constexpr milliseconds Gap{5};
constexpr const char* Threads = "/proc/self/task";

/// How often each thread, by its number, has given up the processor.
using SwitchCounts = std::map<std::string, std::uint64_t>;

/// Returns nothing for a thread that is not asleep, or that has just ended.
std::optional<std::uint64_t> SwitchesOfSleeper(const std::filesystem::path& thread)
{
    std::ifstream status(thread / "status");
    std::uint64_t switches = 0;
    bool isAsleep = false;
    for (std::string key; status >> key; status.ignore(1024, '\n'))
    {
        if (key == "State:")
        {
            std::string state;
            status >> state;
            isAsleep = state == "S";
        }
        else if (key == "voluntary_ctxt_switches:" || key == "nonvoluntary_ctxt_switches:")
        {
            std::uint64_t count = 0;
            status >> count;
            switches += count;
        }
    }
    return isAsleep ? std::optional(switches) : std::nullopt;
}

/// Returns nothing if a thread other than the caller's is not asleep.
std::optional<SwitchCounts> CountSwitchesOfSleepers()
{
    SwitchCounts counts;
    const std::string self = std::to_string(gettid());
    for (const auto& thread : std::filesystem::directory_iterator(Threads))
    {
        const std::string number = thread.path().filename();
        if (number == self)
            continue;
        const auto switches = SwitchesOfSleeper(thread.path());
        if (!switches)
            return std::nullopt;
        counts.emplace(number, *switches);
    }
    return counts;
}

bool NothingIsUnderWay(milliseconds pause)
{
    const nanoseconds sinceLastCall(CallActivity::NowNs() - CallActivity::LastCallNs.load(std::memory_order_relaxed));
    return CallActivity::Entering == 0 && RequestTable::Instance().Count() == 0 && !AnyQueueHasMessages() &&
           sinceLastCall >= pause;
}

/// The threads cannot be listed at one instant, so they are listed twice. A thread that slept both times and has not
/// given up the processor in between has slept all the time, and so the check in between saw a state at rest.
bool IsQuiet(milliseconds pause)
{
    const auto before = CountSwitchesOfSleepers();
    std::this_thread::sleep_for(Gap);
    return before && NothingIsUnderWay(pause) && before == CountSwitchesOfSleepers();
}

} // namespace

bool WaitUntilQuiet(milliseconds timeout, milliseconds pause)
{
    const auto end = steady_clock::now() + timeout;
    do
        if (IsQuiet(pause))
            return true;
    while (steady_clock::now() < end);
    return false;
}

} // namespace Platform
