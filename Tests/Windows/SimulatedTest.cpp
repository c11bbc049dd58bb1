/// The simulated driver, loaded by the system's loader.

#include "AsyncRequest.h"
#include "EventClient.h"
#include "OSPlatform.h"

#include <bit>
#include <filesystem>

namespace
{

TEST(Simulated, ReplacesAdaptersRequestsAndMessages)
{
    std::filesystem::current_path(ZV_TEST_DRIVERS "/all");
    const auto manager = MakeManager();
    const Listing listing = List(*manager, "ZV_USB");
    ASSERT_EQ(listing.Records.size(), 10U);
    std::shared_ptr<CDeviceIntf> device;
    ASSERT_EQ(manager->OpenDevice(&listing.Records[2], ZV_SRVC_DEVICE_UWP, device), ZV_SRVC_SUCCESS);

    Bytes data(40);
    EXPECT_EQ(device->SetQueryInfo(1, 0x2A, data.data(), 40), ZV_SRVC_SUCCESS);
    EXPECT_STREQ(reinterpret_cast<const char*>(data.data()), "{sim-2} 1 2a");

    EventClient* const client = MakeClient(*manager);
    const HMODULE driver = GetModuleHandleA("VirtualDriver_UWP.dll");
    ASSERT_NE(driver, nullptr);
    const auto deliver =
        std::bit_cast<std::intptr_t (*)(unsigned, std::uint64_t)>(GetProcAddress(driver, "TestDeliver"));
    EXPECT_EQ(deliver(WM_POWERBROADCAST, PBT_APMSUSPEND), 1);
    deliver(WM_POWERBROADCAST, PBT_APMRESUMESUSPEND);
    EXPECT_EQ(client->TakeUntil(ZV_EVT_SYSTEM_RESUME), (std::vector<std::uint32_t>{ZV_EVT_SYSTEM_SUSPEND}));
}

} // namespace
