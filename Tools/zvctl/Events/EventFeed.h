/// @file
/// Queues the library's events and compares its lists.
#pragma once

#include "Lock.h"
#include "NeverDestroyed.h"
#include "WakeSignal.h"

#include <CDeviceManagerIntf.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

/// An event, which names no adapter.
struct AdapterEvent
{
    std::uint32_t Code;
    std::chrono::system_clock::time_point Time;
};

/// A difference between two lists. Without `Before` the adapter is new; without `After` it is no longer listed.
struct AdapterChange
{
    std::optional<_ZV_SRVC_DEVICE_INFO> Before;
    std::optional<_ZV_SRVC_DEVICE_INFO> After;
};

/// Returns the adapters whose flags or driver version differ between two lists.
std::vector<AdapterChange> CompareLists(const std::vector<_ZV_SRVC_DEVICE_INFO>& before,
                                        const std::vector<_ZV_SRVC_DEVICE_INFO>& after);

/// Queues the events of a session until they are taken. Threads of the library add events; the main thread calls
/// the public functions.
class EventFeed
{
public:
    using Clock = WakeSignal::Clock;

    /// Returns the session's feed, which exists until the process exits. The first call lists all adapters and
    /// registers a client, which receives the arrivals that pass the filter of the last listing.
    /// @throws OperationFailed
    static EventFeed& OfSession();

    EventFeed(const EventFeed&) = delete;
    EventFeed& operator=(const EventFeed&) = delete;

    /// Takes the oldest event; waits for one until the deadline or until EndSignals::Asked().
    std::optional<AdapterEvent> Take(Clock::time_point deadline);
    /// Returns what changed in the list since the last call.
    std::vector<AdapterChange> TakeChanges();

    std::size_t AdapterCount() const { return Listed.size(); }
    /// Set by an event or a signal.
    WakeSignal& Wake() { return Woken; }

private:
    friend union NeverDestroyed<EventFeed>; ///< A callback may run at any time.
    EventFeed();
    ~EventFeed() = default;

    void Add(std::uint32_t code);
    std::optional<AdapterEvent> TakeQueued();

    WakeSignal Woken;
    std::vector<_ZV_SRVC_DEVICE_INFO> Listed;
    AnnotatedMutex Lock;
    std::deque<AdapterEvent> Queued ZV_GUARDED_BY(Lock);
};
