/// @file
/// A manager, clients that remember what they heard, and messages whose effect can be waited for.
#pragma once

#include "DeviceFixture.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

/// What one client heard, in order. Registered for the rest of the process: a call may still begin
/// when a client has just been deregistered.
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

/// Makes a client that is there until the process is gone, when nobody can call it any more.
inline EventClient* MakeClient(CDeviceManagerIntf& manager, std::uint32_t type = 0)
{
    static auto& kept = *new std::deque<EventClient>;
    static std::mutex& lock = *new std::mutex;
    const std::lock_guard guard(lock);
    return &kept.emplace_back(manager, type);
}

inline constexpr std::uint32_t WmPowerBroadcast = 0x218;
inline constexpr std::uint32_t WmDeviceChange = 0x219;
inline constexpr std::uint64_t Arrival = 0x8000;
inline constexpr std::uint64_t RemoveComplete = 0x8004;

/// The library with its hidden window, on a machine of the test's.
class EventTest : public testing::Test
{
protected:
    EventTest()
    {
        // The window's last step of its own; messages reach it from here on.
        while (Machine->Calls("UpdateWindow") == 0)
            std::this_thread::yield();
    }

    /// Sends a message and waits until the library has dealt with it.
    /// @return the events that it caused, without those of uninstall watchers, which come when they
    ///         like.
    std::vector<std::uint32_t> Send(std::uint64_t wParam, std::uint32_t message = WmDeviceChange)
    {
        Machine->Broadcast(message, wParam);
        return Settle();
    }

    /// Waits until the library has dealt with all that was sent before.
    /// @param mark the event that tells so.
    std::vector<std::uint32_t> Settle(std::uint32_t mark = ZV_EVT_SYSTEM_SUSPEND)
    {
        Machine->Broadcast(WmPowerBroadcast, mark == ZV_EVT_SYSTEM_SUSPEND ? 4 : 7);
        std::vector<std::uint32_t> events = Client->TakeUntil(mark);
        std::erase(events, ZV_EVT_DRIVER_UNINSTALLED);
        return events;
    }

    /// Adds an adapter with a driver that answers.
    Platform::AdapterId Add(const std::string& identity, const char* service = "zvwlanu")
    {
        Drivers.push_back(std::make_shared<TestDriver>());
        Machine->AttachDevice(ControlDeviceName + identity, Drivers.back());
        return Machine->AddAdapter(GivenAdapter(identity, service));
    }

    /// The only adapter's record, as the list has it.
    _ZV_SRVC_DEVICE_INFO Listed()
    {
        const Listing listing = List(*Manager, "ZV_USB");
        EXPECT_EQ(listing.Records.size(), 1U);
        return listing.Records.empty() ? _ZV_SRVC_DEVICE_INFO{} : listing.Records.front();
    }

    /// Makes the list anew: its records start with what the system says now.
    void Relist()
    {
        List(*Manager, "nothing");
        List(*Manager, "ZV_USB");
    }

    Platform::ScopedMachine Machine;
    std::vector<std::shared_ptr<TestDriver>> Drivers;
    std::shared_ptr<CDeviceManagerIntf> Manager = MakeManager();
    EventClient* Client = MakeClient(*Manager);
};
