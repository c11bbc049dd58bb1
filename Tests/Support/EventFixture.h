/// @file
/// A manager, a client, and messages whose effect can be waited for.
#pragma once

#include "CWinPwrEvtHandle.h"
#include "DeviceFixture.h"
#include "EventClient.h"

inline constexpr std::uint32_t WmPowerBroadcast = 0x218;
inline constexpr std::uint32_t WmDeviceChange = 0x219;
inline constexpr std::uint64_t Arrival = 0x8000;
inline constexpr std::uint64_t RemoveComplete = 0x8004;

/// The library with its hidden window, on a machine of the test's.
class EventTest : public testing::Test
{
protected:
    EventTest() { CWinPwrEvtHandle::AwaitWindow(); }

    /// Sends a message and waits until the library has dealt with it.
    /// @return the events that it caused, without those of uninstall watchers, which come when they
    ///         like.
    std::vector<std::uint32_t> Send(std::uint64_t wParam, std::uint32_t message = WmDeviceChange)
    {
        Machine->Broadcast(message, wParam);
        return Settle();
    }

    /// Waits until the library has handled all messages sent before.
    /// @param mark the event that marks the end.
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
        Drivers.push_back(AttachDriver(identity));
        return Machine->AddAdapter(GivenAdapter(identity, service));
    }

    /// The only adapter's record, as the list has it.
    _ZV_SRVC_DEVICE_INFO Listed()
    {
        const Listing listing = List(*Manager, "ZV_USB");
        EXPECT_EQ(listing.Records.size(), 1U);
        return listing.Records.empty() ? _ZV_SRVC_DEVICE_INFO{} : listing.Records.front();
    }

    /// Rebuilds the list: its records start with the current state of the machine.
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
