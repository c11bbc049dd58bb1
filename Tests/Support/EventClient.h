/// @file
/// A client that records the events it receives.
#pragma once

#include "HostCalls.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstring>
#include <deque>
#include <functional>
#include <mutex>

/// The events that one client received, in order. Never destroyed: a call may still begin when a client
/// has just been deregistered.
class EventClient
{
public:
    explicit EventClient(CDeviceManagerIntf& manager, std::uint32_t type = 0)
    {
        Record = {&EventClient::Hear, this, 77, type};
        EXPECT_EQ(manager.RegisterNotification(&Record), ZV_SRVC_SUCCESS);
    }
    EventClient(const EventClient&) = delete;
    EventClient& operator=(const EventClient&) = delete;

    /// Takes the events up to the first of this code, which is left out; waits for it.
    std::vector<std::uint32_t> TakeUntil(std::uint32_t last)
    {
        std::unique_lock lock(Mutex);
        std::vector<std::uint32_t> taken;
        for (;;)
        {
            More.wait(lock, [this] { return !Heard.empty(); });
            const std::uint32_t event = Heard.front();
            Heard.pop_front();
            if (event == last)
                return taken;
            taken.push_back(event);
        }
    }

    _ZV_WLAN_NOTIFY_HDLR Record{};
    std::function<void(std::uint32_t)> InCallback;

private:
    static void Hear(void* context, std::uint32_t event, const _ZV_WLAN_NOTIFY_DATA* data)
    {
        EventClient& self = *static_cast<EventClient*>(context);
        EXPECT_EQ(data->Reserved, 0U);
        EXPECT_EQ(data->PayloadLength, 4U);
        EXPECT_EQ(std::memcmp(data->Payload, "\0\0\0", 4), 0);
        if (self.InCallback)
            self.InCallback(event);
        const std::lock_guard lock(self.Mutex);
        self.Heard.push_back(event);
        self.More.notify_all();
    }

    std::mutex Mutex;
    std::condition_variable More;
    std::deque<std::uint32_t> Heard; ///< Guarded by Mutex.
};

/// Creates a client that exists until the process ends, when it can no longer be called.
inline EventClient* MakeClient(CDeviceManagerIntf& manager, std::uint32_t type = 0)
{
    static auto& kept = *new std::deque<EventClient>;
    static std::mutex& lock = *new std::mutex;
    const std::lock_guard guard(lock);
    return &kept.emplace_back(manager, type);
}
