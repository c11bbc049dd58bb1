/// A simulated driver with all entry points, on the stand-in and on Windows.

#include "EventClient.h"
#include "OSPlatform.h"
#include "TestMachine.h"

#include <algorithm>
#include <bit>
#include <filesystem>

namespace
{

TEST(SimulatedDriver, TakesEveryRequestOfADevice)
{
    std::filesystem::current_path(ZV_TEST_DRIVERS "/all");
    TestMachine machine;
    const auto real = AttachDriver("{sim-1}");
    const auto manager = MakeManager();
    const Listing listing = List(*manager, "ZV_ALL");
    std::shared_ptr<CDeviceIntf> device;
    ASSERT_EQ(manager->OpenDevice(&listing.Records.at(1), ZV_SRVC_DEVICE_UWP, device), ZV_SRVC_SUCCESS);
    char text[64] = "";
    EXPECT_EQ(device->SetQueryInfo(2, 0x1F, text, sizeof text), ZV_SRVC_SUCCESS);
    EXPECT_STREQ(text, "{sim-1} 2 1f");
    EXPECT_EQ(device->SetQueryInfo(1, 1, nullptr, 0), ZV_SRVC_SUCCESS);

    std::uint32_t type = 0;
    std::uint32_t size = sizeof text;
    auto* data = reinterpret_cast<std::uint8_t*>(text);
    EXPECT_EQ(device->AccessRegistry(ZV_REG_OP_READ, "Sub", "Name", &type, data, &size), ZV_SRVC_SUCCESS);
    EXPECT_STREQ(text, "{sim-1} 1 Sub Name") << "the subkey as the caller gave it";

    for (const std::uint8_t isAsync : {std::uint8_t{0}, std::uint8_t{1}})
    {
        _ZV_SRVC_IOCTL_REQ request{};
        request.IoctlCode = 0xABC;
        request.RequestId = 0xFFFE;
        request.InBuffer = "in";
        request.InLength = 2;
        request.OutBuffer = text;
        request.OutLength = sizeof text;
        request.Timeout = 70;
        request.IsAsync = isAsync;
        request.NotifyFn = [](void*, std::uint32_t, const _ZV_ASYNC_RESULT*) { ADD_FAILURE() << "a callback"; };
        request.NotifyContext = &request;
        EXPECT_EQ(device->SendIOCTLReq(&request), ZV_SRVC_SUCCESS);
        EXPECT_STREQ(text, "{sim-1} abc fffe in 70");
        std::ranges::fill(text, '\0');
    }
    EXPECT_EQ(StatusesOfWrongCalls(*device), WrongCallStatuses) << "as without a simulated driver";
    EXPECT_EQ(device->Close(), ZV_SRVC_SUCCESS);
    EXPECT_EQ(device->SetQueryInfo(0, 1, text, 1), ZV_SRVC_ERR_DEVICE_NOT_OPEN);
    EXPECT_TRUE(real->Requests().empty()) << "of the same name";
}

TEST(SimulatedDriver, DeliversMessagesToTheClients)
{
    std::filesystem::current_path(ZV_TEST_DRIVERS "/all");
    const auto manager = MakeManager();
    EventClient* const client = MakeClient(*manager);
    const HMODULE driver = LoadLibraryA("VirtualDriver_UWP.dll");
    const auto deliver =
        std::bit_cast<std::intptr_t (*)(unsigned, std::uint64_t)>(GetProcAddress(driver, "TestDeliver"));
    EXPECT_EQ(deliver(WM_POWERBROADCAST, PBT_APMSUSPEND), 1);
    deliver(WM_POWERBROADCAST, PBT_APMRESUMESUSPEND);
    EXPECT_EQ(client->TakeUntil(ZV_EVT_SYSTEM_RESUME), (std::vector<std::uint32_t>{ZV_EVT_SYSTEM_SUSPEND}));
}

} // namespace
