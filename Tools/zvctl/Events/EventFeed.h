/// @file
/// The library's events, and what they changed in its list.
#pragma once

#include "NeverDestroyed.h"
#include "WakeSignal.h"

#include <CDeviceManagerIntf.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

/// An event as it came; it names no adapter.
struct AdapterEvent
{
    std::uint32_t Code;
    std::chrono::system_clock::time_point Time;
};

/// An adapter of the list before and after; without one of the two it joined or left the list.
struct AdapterChange
{
    std::optional<_ZV_SRVC_DEVICE_INFO> Before;
    std::optional<_ZV_SRVC_DEVICE_INFO> After;
};

/// The adapters whose flags or driver version differ between two lists.
std::vector<AdapterChange> CompareLists(const std::vector<_ZV_SRVC_DEVICE_INFO>& before,
                                        const std::vector<_ZV_SRVC_DEVICE_INFO>& after);

/// Keeps the events of a session until they are taken. Events come on the library's threads and are
/// only queued there; all operations are the main thread's.
class EventFeed
{
public:
    using Clock = WakeSignal::Clock;

    /// The session's feed, which lives as long as the process. The first call lists all adapters
    /// and registers a client: arrivals are those that pass the filter of the last listing.
    /// @throws OperationFailed
    static EventFeed& OfSession();

    EventFeed(const EventFeed&) = delete;
    EventFeed& operator=(const EventFeed&) = delete;

    /// Takes the oldest event; waits for one until the time is up or EndSignals asks for the end.
    std::optional<AdapterEvent> Take(Clock::time_point deadline);
    /// What changed in the list since the last call.
    std::vector<AdapterChange> TakeChanges();

    std::size_t AdapterCount() const { return Listed.size(); }
    /// Set when something was queued or a signal came.
    WakeSignal& Wake() { return Woken; }

private:
    friend union NeverDestroyed<EventFeed>; ///< A callback may be on its way at any time.
    EventFeed();
    ~EventFeed() = default;

    void Add(std::uint32_t code);
    std::optional<AdapterEvent> TakeQueued();

    WakeSignal Woken;
    std::vector<_ZV_SRVC_DEVICE_INFO> Listed;
    std::mutex Lock; ///< Guards Queued.
    std::deque<AdapterEvent> Queued;
};
