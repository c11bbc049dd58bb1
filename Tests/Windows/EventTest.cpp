/// The system's own messages, on the road to a host's callback.

#include "EventClient.h"
#include "OSPlatform.h"
#include "RegistryAdapter.h"
#include "RootAdapter.h"

#include <string>

namespace
{

std::vector<_ZV_SRVC_DEVICE_INFO> ArrivalRecords(CDeviceManagerIntf& manager)
{
    Listing listing = List(manager, "ZV_USB");
    std::erase_if(listing.Records,
                  [](const auto& record) { return std::string_view(record.NetCfgInstanceId) != "{arrival}"; });
    return listing.Records;
}

TEST(Events, ReportsAnInstalledRemovedAndUninstalledAdapter)
{
    // Removes adapters left by an interrupted run or by exited processes. Each would be checked for seconds
    // for an uninstalled driver before the one that this test removes.
    RemoveRootAdapter();
    RemoveRegistryAdapters();
    ASSERT_EQ(AwaitDeviceListener(), 0U);
    const auto manager = MakeManager();
    EXPECT_TRUE(ArrivalRecords(*manager).empty());
    EventClient* const client = MakeClient(*manager);

    ASSERT_EQ(InstallRootAdapter(), 0U);
    client->TakeUntil(ZV_EVT_DEVICE_ARRIVED);
    const auto arrived = ArrivalRecords(*manager);
    ASSERT_EQ(arrived.size(), 1U);
    EXPECT_EQ(arrived.front().StateFlags, 0U);
    EXPECT_STREQ(arrived.front().DeviceName, "Zorvane test adapter");
    EXPECT_STREQ(arrived.front().DriverVersion, "1.2.3.4");

    ASSERT_EQ(RemoveRootAdapter(), 0U);
    client->TakeUntil(ZV_EVT_DEVICE_STATUS_CHANGED);
    // Wine leaves the driver's entry, which Windows removes with the device.
    RemoveDriverEntry(std::stoi(arrived.front().DriverKeyIndex));
    client->TakeUntil(ZV_EVT_DRIVER_UNINSTALLED);
    const auto gone = ArrivalRecords(*manager);
    ASSERT_EQ(gone.size(), 1U);
    EXPECT_EQ(gone.front().StateFlags, ZV_DEV_ABSENT | ZV_DEV_DRIVER_UNINSTALLED);
}

TEST(Events, PowerMessagesReachTheClient)
{
    const auto manager = MakeManager();
    EventClient* const client = MakeClient(*manager);
    List(*manager, "ZV_USB"); // Waits until the window receives messages.
    DWORD_PTR answer = 0;
    SendMessageTimeoutA(HWND_BROADCAST, WM_POWERBROADCAST, PBT_APMSUSPEND, 0, SMTO_NORMAL, 5000, &answer);
    SendMessageTimeoutA(HWND_BROADCAST, WM_POWERBROADCAST, PBT_APMRESUMESUSPEND, 0, SMTO_NORMAL, 5000, &answer);
    EXPECT_EQ(client->TakeUntil(ZV_EVT_SYSTEM_RESUME), (std::vector<std::uint32_t>{ZV_EVT_SYSTEM_SUSPEND}));
}

} // namespace
