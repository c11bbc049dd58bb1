// The event queue.
#include "FakeManager.h"

#include <HostKit/HostKit.h>
#include <HostKit/Testing.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace
{

using namespace std::chrono_literals;

using Events = std::vector<std::uint32_t>;

TEST(Events, AreTakenInOrder)
{
    const auto manager = std::make_shared<FakeManager>();
    HostKit::EventQueue queue(manager, HostKit::ClientList::Second);
    EXPECT_EQ(manager->Client.ClientType, ZV_INFO_REQ_MAGIC);
    EXPECT_EQ(queue.TryNext(), std::nullopt);
    for (const std::uint32_t event : {1U, 2U, 3U, 2U})
        manager->Deliver(event);
    EXPECT_EQ(queue.WaitFor(4, 1ms), std::nullopt) << "and takes nothing";
    EXPECT_EQ(queue.WaitFor(2, Bound), Events{1});
    EXPECT_EQ(queue.WaitFor(2, Bound), Events{3});
    EXPECT_EQ(queue.Next(1ms), std::nullopt);
    std::jthread late([&] { manager->Deliver(5); });
    EXPECT_EQ(queue.Next(Bound), 5U);
}

TEST(Events, ADeliveryAfterTheRemovalTouchesNoMemory)
{
    const auto manager = std::make_shared<FakeManager>();
    auto queue = std::make_unique<HostKit::EventQueue>(manager);
    queue.reset();
    EXPECT_EQ(manager->Removed, 1U);
    HostKit::EventQueue next(manager);
    const _ZV_WLAN_NOTIFY_HDLR current = manager->Client;
    manager->Client.Context = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(current.Context) - 1);
    manager->Deliver(1); // to the first queue
    EXPECT_EQ(next.TryNext(), std::nullopt);
}

TEST(Events, AQueueMayBeDestroyedDuringDeliveries)
{
    const auto manager = std::make_shared<FakeManager>();
    for (int round = 0; round < 300; ++round)
    {
        auto queue = std::make_unique<HostKit::EventQueue>(manager);
        std::atomic<bool> delivers{false};
        std::jthread library([&, client = *manager](const std::stop_token& stopped) {
            for (std::uint32_t event = 1; !stopped.stop_requested(); ++event)
            {
                client.Deliver(event);
                delivers = true;
            }
        });
        while (!delivers)
            std::this_thread::yield();
        EXPECT_EQ(queue->Next(Bound), 1U);
        queue.reset();
    }
}

TEST(Events, AFailedRegistrationLeavesNothingBehind)
{
    const auto manager = std::make_shared<FakeManager>();
    manager->Status = ZV_SRVC_ERR_INVALID_PARAMETER;
    EXPECT_THROW(HostKit::EventQueue{manager}, std::system_error);
    manager->Deliver(1);
    EXPECT_EQ(manager.use_count(), 1);
}

/// The real library.
TEST(Events, ReportArrivalAndRemovalOfAnAdapter)
{
    HostKit::TestMachine machine;
    machine.Add({.Identity = "{other}"});
    const HostKit::TestAdapter adapter = machine.Add({.Identity = "{test}", .Present = false});
    const auto manager = HostKit::CreateManager();
    EXPECT_EQ(HostKit::ListAdapters(*manager).size(), 1U);
    HostKit::EventQueue queue(manager);
    adapter.Plug();
    EXPECT_EQ(queue.WaitFor(ZV_EVT_DEVICE_ARRIVED, Bound), Events{});
    EXPECT_TRUE(HostKit::IsUsable(HostKit::ListAdapters(*manager).at(1)));
    adapter.Unplug();
    EXPECT_EQ(queue.WaitFor(ZV_EVT_DEVICE_STATUS_CHANGED, Bound), Events{});
    EXPECT_FALSE(HostKit::IsUsable(HostKit::ListAdapters(*manager).at(1)));
}

} // namespace
