#include "TourEvents.h"

#include "AdapterView.h"
#include "DataText.h"
#include "Errors.h"
#include "EventView.h"
#include "Library.h"
#include "MachineAdapters.h"

#include <algorithm>
#include <fmt/core.h>
#include <functional>
#include <stdexcept>

namespace
{

constexpr std::chrono::seconds EventPatience{10};

// A message that the stand-in sends without a change, which makes the library enumerate the adapters.
constexpr std::uint32_t DeviceChangeMessage = 0x219;
constexpr std::uint64_t DeviceArrival = 0x8000;

struct EventStep
{
    const char* Name;
    std::function<void()> Cause;
    std::vector<std::uint32_t> Events; ///< Each must arrive, in any order.
    std::uint32_t Flags;               ///< The adapter's flags afterwards.
    std::uint32_t Ignored = 0;         ///< Flags that may have any value.
    std::uint32_t Needed = 0;          ///< The step is skipped without these flags.
};

std::uint32_t FlagsOf(CDeviceIntf& device)
{
    _ZV_SRVC_DEVICE_INFO record = {};
    Require("GetDeviceInfo", device.GetDeviceInfo(&record));
    return record.StateFlags;
}

std::string Names(const std::vector<std::uint32_t>& events)
{
    std::vector<std::string> names;
    std::ranges::transform(events, std::back_inserter(names), EventName);
    return names.empty() ? "no event" : Join(names, ", ");
}

std::string FlagsWithNumber(std::uint32_t flags)
{
    return fmt::format("0x{:x} {}", flags, FlagText(flags));
}

/// Consumes events until all expected ones have arrived and the adapter has the expected flags.
/// @return all consumed events; earlier steps may have caused further ones.
std::vector<std::uint32_t> AwaitStep(const EventStep& step, CDeviceIntf& device)
{
    const auto deadline = EventFeed::Clock::now() + EventPatience;
    std::vector<std::uint32_t> missing = step.Events;
    std::vector<std::uint32_t> arrived;
    while (!missing.empty() || (FlagsOf(device) & ~step.Ignored) != step.Flags)
    {
        const std::optional<AdapterEvent> event = EventFeed::OfSession().Take(deadline);
        if (!event)
            throw std::runtime_error(fmt::format("{} within {} s; the flags are {}", Names(arrived),
                                                 EventPatience.count(), FlagsWithNumber(FlagsOf(device))));
        arrived.push_back(event->Code);
        // Erases one occurrence only: the resume expects the same event twice.
        if (const auto wanted = std::ranges::find(missing, event->Code); wanted != missing.end())
            missing.erase(wanted);
    }
    return arrived;
}

/// Performs one step and returns its line of the tour. @throws std::runtime_error if an expected event is missing.
std::string CarryOut(const EventStep& step, CDeviceIntf& device)
{
    // An adapter that is in the expected state already would cause no event, and the step would time out.
    const std::uint32_t before = FlagsOf(device);
    if ((before & step.Needed) != step.Needed)
        return fmt::format("skipped: already {}", FlagText(before));
    step.Cause();
    const std::vector<std::uint32_t> arrived = AwaitStep(step, device);
    const std::uint32_t after = FlagsOf(device);
    return fmt::format("{}; {}{}", Names(arrived), FlagsWithNumber(before),
                       before == after ? " unchanged" : " -> " + FlagsWithNumber(after));
}

std::vector<EventStep> MakeSteps(Platform::Machine& machine, Platform::AdapterId id,
                                 std::shared_ptr<CDeviceIntf>& device)
{
    constexpr std::uint32_t Ready = 0;
    return {
        {.Name = "unplug",
         .Cause = [&machine, id] { machine.Unplug(id); },
         .Events = {ZV_EVT_DEVICE_STATUS_CHANGED},
         .Flags = ZV_DEV_ABSENT},
        {.Name = "plug",
         .Cause = [&machine, id] { machine.Plug(id); },
         .Events = {ZV_EVT_DEVICE_ARRIVED},
         .Flags = Ready},
        {.Name = "disable",
         .Cause = [&device] { SetAdapterEnabled(device, false); },
         .Events = {ZV_EVT_DEVICE_STATUS_CHANGED},
         .Flags = ZV_DEV_HAS_PROBLEM | ZV_DEV_ABSENT},
        // An arrival clears one of the two flags and the next arrival the other, unless the library has
        // enumerated the adapters in between.
        {.Name = "enable",
         .Cause = [&device] { SetAdapterEnabled(device, true); },
         .Events = {ZV_EVT_DEVICE_ARRIVED},
         .Flags = Ready,
         .Ignored = ZV_DEV_HAS_PROBLEM},
        {.Name = "arrival",
         .Cause = [&machine] { machine.Broadcast(DeviceChangeMessage, DeviceArrival); },
         .Events = {ZV_EVT_DEVICE_ARRIVED},
         .Flags = Ready,
         .Needed = ZV_DEV_HAS_PROBLEM},
        {.Name = "suspend",
         .Cause = [&machine] { machine.Suspend(); },
         .Events = {ZV_EVT_SYSTEM_SUSPEND},
         .Flags = Ready},
        // Windows announces one resume twice.
        {.Name = "resume",
         .Cause = [&machine] { machine.Resume(); },
         .Events = {ZV_EVT_SYSTEM_RESUME, ZV_EVT_SYSTEM_RESUME},
         .Flags = Ready},
        {.Name = "uninstall",
         .Cause = [&machine, id] { machine.Uninstall(id); },
         .Events = {ZV_EVT_DEVICE_STATUS_CHANGED, ZV_EVT_DRIVER_UNINSTALLED},
         .Flags = ZV_DEV_ABSENT | ZV_DEV_DRIVER_UNINSTALLED},
    };
}

/// Discards events from before the tour.
std::string StartWatching()
{
    EventFeed& feed = EventFeed::OfSession();
    while (feed.Take(EventFeed::Clock::now()))
        ;
    return fmt::format("on, {} adapter{}", feed.AdapterCount(), feed.AdapterCount() == 1 ? "" : "s");
}

} // namespace

void VisitEvents(TourSteps& steps, std::shared_ptr<CDeviceIntf>& device)
{
    _ZV_SRVC_DEVICE_INFO record = {};
    device->GetDeviceInfo(&record);
    const auto machine = Platform::CurrentMachine();
    const auto id = FindMachineAdapter(*machine, FieldText(record.NetCfgInstanceId));
    if (!id)
    {
        steps.Skip("events", "a simulated driver's adapter does not depend on the machine");
        return;
    }
    if (!steps.Step("watch", StartWatching))
        return;
    for (const EventStep& step : MakeSteps(*machine, *id, device))
        // The steps build on each other: after a failed one, the flags of the next would be wrong.
        if (!steps.Step(step.Name, [&] { return CarryOut(step, *device); }))
            return;
}
