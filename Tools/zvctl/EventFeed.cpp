#include "EventFeed.h"

#include "AdapterView.h"
#include "EndSignals.h"
#include "Errors.h"
#include "Library.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <utility>

namespace
{

using Adapters = std::vector<_ZV_SRVC_DEVICE_INFO>;

std::optional<_ZV_SRVC_DEVICE_INFO> Find(const Adapters& adapters, const _ZV_SRVC_DEVICE_INFO& wanted)
{
    const auto found = std::ranges::find_if(adapters, [&](const auto& adapter) {
        return FieldText(adapter.NetCfgInstanceId) == FieldText(wanted.NetCfgInstanceId);
    });
    return found == adapters.end() ? std::nullopt : std::optional(*found);
}

bool Differ(const _ZV_SRVC_DEVICE_INFO& one, const _ZV_SRVC_DEVICE_INFO& other)
{
    return one.StateFlags != other.StateFlags || FieldText(one.DriverVersion) != FieldText(other.DriverVersion);
}

int MakeEventFd()
{
    const int made = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (made < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
    return made;
}

/// Rounded up, so that no poll returns early; -1 for no limit.
int MillisecondsUntil(EventFeed::Clock::time_point deadline)
{
    if (deadline == EventFeed::Clock::time_point::max())
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - EventFeed::Clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 60'000));
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
    static Immortal<EventFeed> feed;
    return feed.Object;
}

/// Nothing may fail once the client is registered, since it cannot be taken back for certain.
EventFeed::EventFeed() : Wake(MakeEventFd()), Listed(ListAll())
{
    _ZV_WLAN_NOTIFY_HDLR client = {};
    client.Callback = [](void* context, std::uint32_t code, const _ZV_WLAN_NOTIFY_DATA*) {
        static_cast<EventFeed*>(context)->Add(code);
    };
    client.Context = this;
    Require("RegisterNotification", SessionManager()->RegisterNotification(&client));
}

void EventFeed::Add(std::uint32_t code)
{
    {
        const std::scoped_lock guard(Lock);
        Queued.push_back({code, std::chrono::system_clock::now()});
    }
    eventfd_write(Wake, 1);
}

std::optional<AdapterEvent> EventFeed::TakeQueued()
{
    const std::scoped_lock guard(Lock);
    if (Queued.empty())
        return std::nullopt;
    const AdapterEvent event = Queued.front();
    Queued.pop_front();
    return event;
}

/// The count is taken before the queue and the signal are looked at: what comes later counts anew.
std::optional<AdapterEvent> EventFeed::Take(Clock::time_point deadline)
{
    while (true)
    {
        eventfd_t count = 0;
        eventfd_read(Wake, &count);
        const bool late = Clock::now() >= deadline;
        if (EndSignals::Asked())
            return std::nullopt;
        if (const auto event = TakeQueued(); event || late)
            return event;
        pollfd waited = {Wake, POLLIN, 0};
        poll(&waited, 1, MillisecondsUntil(deadline));
    }
}

std::vector<AdapterChange> EventFeed::TakeChanges()
{
    Adapters now = ListAll();
    std::vector<AdapterChange> changes = CompareLists(Listed, now);
    Listed = std::move(now);
    return changes;
}
