/// Messages that a simulated driver delivers, and the clients of two managers.

#include "EventFixture.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>

namespace
{

using Events = std::vector<std::uint32_t>;

class EventDelivery : public testing::Test
{
protected:
    EventDelivery()
    {
        std::filesystem::current_path(ZV_TEST_DRIVERS "/all");
        Manager = MakeManager();
        void* driver = dlopen(ZV_TEST_DRIVERS "/all/VirtualDriver_UWP.dll", RTLD_NOW | RTLD_NOLOAD);
        Deliver = reinterpret_cast<std::intptr_t (*)(unsigned, std::uint64_t)>(dlsym(driver, "TestDeliver"));
        dlclose(driver);
    }

    std::shared_ptr<CDeviceManagerIntf> Manager;
    std::intptr_t (*Deliver)(unsigned, std::uint64_t) = nullptr;
};

TEST_F(EventDelivery, ReportsEveryRemovalAndArrivalWithTheDriversFlags)
{
    auto* const client = MakeClient(*Manager);
    const struct
    {
        std::uint64_t WParam;
        const char* Flags;
        Events Told;
    } rows[] = {
        {0x8001, "0", {ZV_EVT_DEVICE_STATUS_CHANGED}},
        {0x8003, "4", {ZV_EVT_DEVICE_STATUS_CHANGED}},
        {0x8004, "4", {ZV_EVT_DEVICE_STATUS_CHANGED}},
        {0x8000, "0x1F", {ZV_EVT_DEVICE_ARRIVED}},
        {0x8000, "0x1F", {ZV_EVT_DEVICE_ARRIVED}},
        {0x8002, "1", {}},
        {7, "1", {}},
    };
    std::uint32_t flags = 0;
    for (const auto& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        setenv("TEST_FLAGS", row.Flags, 1);
        EXPECT_EQ(Deliver(WmDeviceChange, row.WParam), 1); // No default handling, because there is no window.
        Deliver(WmPowerBroadcast, 4);
        EXPECT_EQ(client->TakeUntil(ZV_EVT_SYSTEM_SUSPEND), row.Told);
        if (!row.Told.empty())
            flags = static_cast<std::uint32_t>(std::stoul(row.Flags, nullptr, 0));
        // The first message has filled the list, although no host has listed adapters.
        setenv("TEST_FLAGS", row.Told.empty() ? "0x1F" : row.Flags, 1);
        const Listing listing = List(*Manager, "ZV_ALL");
        EXPECT_EQ(listing.Records.size(), 10U);
        EXPECT_EQ(listing.Records.front().StateFlags, flags);
    }
    EXPECT_EQ(Platform::CountOpenObjects().Windows, 0U);
}

TEST_F(EventDelivery, ClientsOfAllListsAndManagersAreCalledInOrder)
{
    auto* const user = MakeClient(*Manager);
    _ZV_WLAN_NOTIFY_HDLR silent{nullptr, nullptr, 0, 0};
    EXPECT_EQ(Manager->RegisterNotification(&silent), ZV_SRVC_SUCCESS);
    auto* const zv = MakeClient(*Manager, ZV_INFO_REQ_MAGIC);
    auto* const twice = MakeClient(*Manager, 5);
    EXPECT_EQ(Manager->RegisterNotification(&twice->Record), ZV_SRVC_SUCCESS);
    auto* const other = MakeClient(*MakeManager()); // Its host drops its reference.
    EXPECT_EQ((std::vector{user->Record.ClientId, silent.ClientId, zv->Record.ClientId, twice->Record.ClientId,
                           other->Record.ClientId}),
              (std::vector{1U, 2U, 3U, 5U, 1U}));

    _ZV_WLAN_NOTIFY_HDLR otherList = zv->Record;
    otherList.ClientType = 0;
    EXPECT_EQ(Manager->DeRegisterNotification(&otherList), ZV_SRVC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Manager->DeRegisterNotification(&silent), ZV_SRVC_SUCCESS);
    EXPECT_EQ(Manager->DeRegisterNotification(&silent), ZV_SRVC_ERR_INVALID_PARAMETER);
    Manager.reset();
    Deliver(WmPowerBroadcast, 18);
    Deliver(WmPowerBroadcast, 4);
    for (EventClient* client : {user, zv, other})
        EXPECT_EQ(client->TakeUntil(ZV_EVT_SYSTEM_SUSPEND), Events{ZV_EVT_SYSTEM_RESUME});
    twice->TakeUntil(ZV_EVT_SYSTEM_SUSPEND);
    EXPECT_EQ(twice->TakeUntil(ZV_EVT_SYSTEM_SUSPEND), Events());
}

} // namespace
