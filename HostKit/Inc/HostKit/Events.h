/// @file
/// Adapter and power events as a queue that the host reads on its own threads.
///
///     HostKit::EventQueue events(manager);
///     while (running)
///         if (events.Next(std::chrono::seconds(1)) == ZV_EVT_DEVICE_ARRIVED)
///             Show(HostKit::ListAdapters(*manager));
///
/// An event does not name an adapter: list again and compare. A callback of the library runs on the library's thread
/// and must be valid even after its removal; the queue takes care of both.
#pragma once

#include "Detail/EventBuffers.h"
#include "Status.h"

#include <CDeviceManagerIntf.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace HostKit
{

/// The two client lists of a manager. Each has a separate thread, so a slow client of one list does not delay the
/// clients of the other.
enum class ClientList : std::uint32_t
{
    First = 0,
    Second = ZV_INFO_REQ_MAGIC,
};

/// Registers a client for events and queues what it receives: ZV_EVT_DEVICE_ARRIVED and the other codes of ZVEvents.h,
/// in the order of delivery. An event stays in the queue, in four bytes, until it is taken.
///
/// Any thread may call any operation at any time except during the destructor. Each event is taken by one caller.
/// Only an event ends a wait early. Do not wait in a callback of a client of the same list and manager, because the
/// waiting thread itself delivers the events.
class EventQueue
{
public:
    using Event = std::uint32_t;                    ///< A code of ZVEvents.h, such as ZV_EVT_DEVICE_ARRIVED.
    using Milliseconds = std::chrono::milliseconds; ///< The unit of time-outs.

    /// Registers the client. It receives the events delivered from now on. The library notices messages of the
    /// operating system once its window exists, which the first ListAdapters of the process waits for.
    /// @param manager must not be null; the queue keeps a reference.
    /// @param list the client list, whose thread delivers the events.
    /// @throws std::bad_alloc; std::system_error if the library refuses the client.
    explicit EventQueue(std::shared_ptr<CDeviceManagerIntf> manager, ClientList list = ClientList::First)
        : Manager(std::move(manager)), Number(Detail::EventBuffers::Instance().Add(Buffer))
    {
        Client.Callback = &Detail::EventBuffers::OnEvent;
        Client.Context = reinterpret_cast<void*>(Number);
        Client.ClientType = static_cast<std::uint32_t>(list);
        try
        {
            Check(Manager->RegisterNotification(&Client), "register for events");
        }
        catch (...)
        {
            Detail::EventBuffers::Instance().Remove(Number);
            throw;
        }
    }

    /// Removes the client and drops the events in the queue. Does not wait for a delivery that is under way
    /// on another thread; such a delivery touches no memory of this object. May run in a callback.
    ~EventQueue()
    {
        Manager->DeRegisterNotification(&Client);
        Detail::EventBuffers::Instance().Remove(Number);
    }
    EventQueue(const EventQueue&) = delete;
    EventQueue& operator=(const EventQueue&) = delete;

    /// Takes the oldest event. Does not block.
    /// @return nothing if there is none.
    std::optional<Event> TryNext() { return Next(Milliseconds::zero()); }

    /// Takes the oldest event. Blocks until there is one, for at most `timeout`; a time of 0 or less only checks.
    /// @return nothing if none came in time.
    std::optional<Event> Next(Milliseconds timeout)
    {
        std::unique_lock guard(Buffer->Lock);
        auto& events = Buffer->Events;
        if (!Buffer->Arrived.wait_for(guard, timeout, [&] { return !events.empty(); }))
            return std::nullopt;
        const Event event = events.front();
        events.pop_front();
        return event;
    }

    /// Takes the events up to and including the first one with this code. Blocks until it comes, for at most
    /// `timeout`. Use it after an action to wait for its effect, or to skip events of no interest.
    /// @return the events that came before it, oldest first; nothing if it did not come in time, and all events then
    ///         stay in the queue.
    std::optional<std::vector<Event>> WaitFor(Event event, Milliseconds timeout)
    {
        std::unique_lock guard(Buffer->Lock);
        auto& events = Buffer->Events;
        auto found = events.end();
        const auto arrived = [&] { return (found = std::ranges::find(events, event)) != events.end(); };
        if (!Buffer->Arrived.wait_for(guard, timeout, arrived))
            return std::nullopt;
        std::vector<Event> before(events.begin(), found);
        events.erase(events.begin(), found + 1);
        return before;
    }

private:
    const std::shared_ptr<Detail::EventBuffer> Buffer = std::make_shared<Detail::EventBuffer>(); ///< Has its own lock.
    const std::shared_ptr<CDeviceManagerIntf> Manager;
    const std::uintptr_t Number; ///< Of the buffer, in EventBuffers.
    _ZV_WLAN_NOTIFY_HDLR Client{};
};

} // namespace HostKit
