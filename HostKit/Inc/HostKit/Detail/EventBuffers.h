/// @file
/// The events that clients have received, independent of the life of an EventQueue. For Events.h only.
#pragma once

#include <ZVEvents.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>

namespace HostKit::Detail
{

/// The events that one client has received. Shared by the queue and a delivery that is under way.
struct EventBuffer
{
    std::mutex Lock;
    std::condition_variable Arrived;
    std::deque<std::uint32_t> Events; ///< Oldest first.
};

/// The open queues by number. The library may call a client after its removal, and nothing reports the last call. So
/// clients pass a number as context instead of an address; a late call finds no entry and does nothing.
class EventBuffers
{
public:
    static EventBuffers& Instance()
    {
        // Never destroyed, because the library delivers events until the process ends.
        static auto& buffers = *new EventBuffers;
        return buffers;
    }

    std::uintptr_t Add(const std::shared_ptr<EventBuffer>& buffer)
    {
        const std::lock_guard guard(Lock);
        Buffers.emplace(++LastNumber, buffer);
        return LastNumber;
    }
    void Remove(std::uintptr_t number)
    {
        const std::lock_guard guard(Lock);
        Buffers.erase(number);
    }

    /// The callback of all clients, on a thread of the library.
    static void OnEvent(void* context, std::uint32_t event, const _ZV_WLAN_NOTIFY_DATA* /*data*/)
    {
        const auto buffer = Instance().Find(reinterpret_cast<std::uintptr_t>(context));
        if (buffer == nullptr)
            return;
        const std::lock_guard guard(buffer->Lock);
        buffer->Events.push_back(event);
        buffer->Arrived.notify_all();
    }

private:
    std::shared_ptr<EventBuffer> Find(std::uintptr_t number)
    {
        const std::lock_guard guard(Lock);
        const auto found = Buffers.find(number);
        return found == Buffers.end() ? nullptr : found->second;
    }

    std::mutex Lock;
    std::map<std::uintptr_t, std::shared_ptr<EventBuffer>> Buffers;
    std::uintptr_t LastNumber = 0;
};

} // namespace HostKit::Detail
