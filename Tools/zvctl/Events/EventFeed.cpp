#include "EventFeed.h"

#include "AdapterView.h"
#include "EndSignals.h"
#include "Errors.h"
#include "Library.h"

#include <algorithm>
#include <utility>

namespace
{

using Adapters = std::vector<_ZV_SRVC_DEVICE_INFO>;

/// Adapters are identified by NetCfgInstanceId; the other fields may change while an adapter is present.
std::optional<_ZV_SRVC_DEVICE_INFO> Find(const Adapters& adapters, const _ZV_SRVC_DEVICE_INFO& wanted)
{
    const auto found = std::ranges::find_if(adapters, [&](const auto& adapter) {
        return FieldText(adapter.NetCfgInstanceId) == FieldText(wanted.NetCfgInstanceId);
    });
    return found == adapters.end() ? std::nullopt : std::optional(*found);
}

/// Compares the fields that events announce.
bool Differ(const _ZV_SRVC_DEVICE_INFO& one, const _ZV_SRVC_DEVICE_INFO& other)
{
    return one.StateFlags != other.StateFlags || FieldText(one.DriverVersion) != FieldText(other.DriverVersion);
}

} // namespace

std::vector<AdapterChange> CompareLists(const Adapters& before, const Adapters& after)
{
    std::vector<AdapterChange> changes;
    for (const _ZV_SRVC_DEVICE_INFO& adapter : after)
        if (const auto old = Find(before, adapter); !old || Differ(*old, adapter))
            changes.push_back({old, adapter});
    for (const _ZV_SRVC_DEVICE_INFO& adapter : before)
        if (!Find(after, adapter))
            changes.push_back({adapter, std::nullopt});
    return changes;
}

EventFeed& EventFeed::OfSession()
{
    static NeverDestroyed<EventFeed> feed;
    return feed.Object;
}

/// Registers last: nothing may fail afterwards, because a callback may already use the object.
EventFeed::EventFeed() : Listed(ListAllOrNone())
{
    _ZV_WLAN_NOTIFY_HDLR client = {};
    client.Callback = [](void* context, std::uint32_t code, const _ZV_WLAN_NOTIFY_DATA*) {
        static_cast<EventFeed*>(context)->Add(code);
    };
    client.Context = this;
    Require("RegisterNotification", SessionManager()->RegisterNotification(&client));
}

/// Runs on a thread of the library.
void EventFeed::Add(std::uint32_t code)
{
    {
        // Released before Set, so that the main thread does not wake only to wait for the lock.
        const ScopedLock guard(Lock);
        Queued.push_back({code, std::chrono::system_clock::now()});
    }
    Woken.Set();
}

std::optional<AdapterEvent> EventFeed::TakeQueued()
{
    const ScopedLock guard(Lock);
    if (Queued.empty())
        return std::nullopt;
    const AdapterEvent event = Queued.front();
    Queued.pop_front();
    return event;
}

std::optional<AdapterEvent> EventFeed::Take(Clock::time_point deadline)
{
    while (true)
    {
        // Cleared before the checks, so that a later event or signal ends the wait.
        Woken.Clear();
        // Read before the queue, so that an event that arrives by the deadline is returned.
        const bool late = Clock::now() >= deadline;
        if (EndSignals::Asked())
            return std::nullopt;
        if (const auto event = TakeQueued(); event || late)
            return event;
        Woken.WaitUntil(deadline);
    }
}

std::vector<AdapterChange> EventFeed::TakeChanges()
{
    // The list may contain the effect of later events too; those then report no change.
    Adapters now = ListAllOrNone();
    std::vector<AdapterChange> changes = CompareLists(Listed, now);
    Listed = std::move(now);
    return changes;
}
