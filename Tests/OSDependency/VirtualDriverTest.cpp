/// The simulated driver: bound by its file in the current directory, entry by entry.

#include "CVirtualDriverBinding.h"

#include "EventFixture.h"
#include "TestMachine.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>

namespace
{

using Events = std::vector<std::uint32_t>;

void GoTo(const char* folder)
{
    std::filesystem::current_path(std::filesystem::path(ZV_TEST_DRIVERS) / folder);
}

/// The number of bound entry points.
int Bound()
{
    return (Virtual_RegisterPnPHandler != nullptr) + (Virtual_EnumZVDevice != nullptr) +
           (Virtual_Dev_SetQueryInfo != nullptr) + (Virtual_AccessRegistry != nullptr) +
           (Virtual_SendIOCTLReq != nullptr);
}

TEST(DriverBinding, BindsWhatTheFileExportsAndUnbindsIt)
{
    const struct
    {
        const char* Folder;
        bool Loaded;
        int Entries;
    } cases[] = {
        {".", false, 0},
        {"nothing", true, 0},
        {"unloadable", true, 0},
        // Stays loaded, and so is last: a thread may be in a bound entry when the process ends.
        {"requests-only", true, 1},
    };
    for (const auto& [folder, loaded, entries] : cases)
    {
        GoTo(folder);
        CVirtualDriverBinding binding;
        EXPECT_EQ(binding.Load(), loaded) << folder;
        EXPECT_EQ(binding.IsLoaded(), loaded) << folder;
        EXPECT_EQ(Bound(), entries) << folder;
        binding.Unload();
        EXPECT_FALSE(binding.IsLoaded()) << folder;
        EXPECT_EQ(Bound(), 0) << folder;
        EXPECT_EQ(Platform::CountOpenObjects().Modules, 0U) << folder;
    }
}

class PartialDriver : public testing::TestWithParam<const char*>
{
};

TEST_P(PartialDriver, ReplacesOnlyTheOperationsThatItExports)
{
    const bool takesRequests = GetParam() == std::string_view("requests-only");
    GoTo(GetParam());
    TestMachine machine;
    const auto driver = PlugAdapter("{real}");
    const auto manager = MakeManager();
    const Listing listing = List(*manager, "ZV_USB");
    ASSERT_EQ(listing.Identities(), std::vector<std::string>{"{real}"});
    std::shared_ptr<CDeviceIntf> device;
    ASSERT_EQ(manager->OpenDevice(&listing.Records.front(), ZV_SRVC_DEVICE_UWP, device), ZV_SRVC_SUCCESS);
    driver->Requests();
    char text[64] = "";
    _ZV_SRVC_IOCTL_REQ request{};
    request.OutBuffer = text;
    request.OutLength = sizeof text;
    request.Timeout = 1000;
    EXPECT_EQ(device->SendIOCTLReq(&request), ZV_SRVC_SUCCESS);
    EXPECT_STREQ(text, takesRequests ? "{real} 0 0  1000" : "");
    EXPECT_EQ(driver->Requests().size(), takesRequests ? 0U : 1U);
    EXPECT_EQ(device->SetQueryInfo(0, 1, text, 1), ZV_SRVC_SUCCESS);
    EXPECT_EQ(driver->Requests().size(), 1U) << "an item has no entry point";
    auto* data = reinterpret_cast<std::uint8_t*>(text);
    std::uint32_t size = sizeof text;
    EXPECT_EQ(device->AccessRegistry(ZV_REG_OP_READ, "", "DriverVersion", nullptr, data, &size), ZV_SRVC_SUCCESS);
    EXPECT_STREQ(text, "1.2.3.4");
    const bool isLoaded = GetParam() != std::string_view("unloadable");
    EXPECT_EQ(machine->Calls("GetProcAddress") != 0, isLoaded) << "without a module it finds the host's own exports";
}

INSTANTIATE_TEST_SUITE_P(VirtualDriver, PartialDriver, testing::Values("requests-only", "nothing", "unloadable"));

/// A driver that exports all entry points, and delivers what the environment contains.
class VirtualDriver : public testing::Test
{
protected:
    VirtualDriver()
    {
        GoTo("all");
        Manager = MakeManager();
        void* driver = dlopen("./VirtualDriver_UWP.dll", RTLD_NOW | RTLD_NOLOAD);
        Deliver = reinterpret_cast<std::intptr_t (*)(unsigned, std::uint64_t)>(dlsym(driver, "TestDeliver"));
        dlclose(driver);
    }

    std::shared_ptr<CDeviceManagerIntf> Manager;
    std::intptr_t (*Deliver)(unsigned, std::uint64_t) = nullptr;
};

TEST_F(VirtualDriver, DeliversWholeRecordsAndNoMoreThanTen)
{
    const std::pair<const char*, std::size_t> cases[] = {{"7240", 10}, {"724", 1},   {"723", 0},        {"1450", 2},
                                                         {"0", 0},     {"7964", 10}, {"0xFFFFFFFF", 10}};
    EXPECT_EQ(List(*Manager, "").Status, ZV_SRVC_ERR_INVALID_PARAMETER);
    setenv("TEST_FLAGS", "0x9", 1);
    for (const auto& [length, records] : cases)
    {
        setenv("TEST_LENGTH", length, 1);
        // Every case starts with an unknown filter. No filter applies to the records.
        const Listing listing = List(*Manager, length, "no such pattern");
        EXPECT_EQ(listing.Status, ZV_SRVC_SUCCESS) << length;
        ASSERT_EQ(listing.Records.size(), records) << length;
        for (const _ZV_SRVC_DEVICE_INFO& record : listing.Records)
        {
            EXPECT_EQ(record.StateFlags, 9U);
            EXPECT_EQ(std::string(record.InfSection, 50), std::string(50, 'x')) << "copied unchanged";
        }
    }
    setenv("TEST_LENGTH", "724", 1);
    EXPECT_EQ(List(*Manager, "0xFFFFFFFF").Records.size(), 10U) << "from the list";
}

TEST_F(VirtualDriver, ReportsEveryRemovalAndArrivalWithItsFlags)
{
    auto* const client = MakeClient(*Manager);
    const struct
    {
        std::uint64_t WParam;
        const char* Flags;
        Events Told;
        std::uint32_t Listed;
    } rows[] = {
        {0x8001, "0", {ZV_EVT_DEVICE_STATUS_CHANGED}, 0},
        {0x8003, "4", {ZV_EVT_DEVICE_STATUS_CHANGED}, 4},
        {0x8004, "4", {ZV_EVT_DEVICE_STATUS_CHANGED}, 4},
        {0x8000, "0x1F", {ZV_EVT_DEVICE_ARRIVED}, 0x1F},
        {0x8000, "0x1F", {ZV_EVT_DEVICE_ARRIVED}, 0x1F},
        {0x8002, "1", {}, 0x1F},
        {7, "1", {}, 0x1F},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        setenv("TEST_FLAGS", row.Flags, 1);
        EXPECT_EQ(Deliver(WmDeviceChange, row.WParam), 1); // No default handling, because there is no window.
        Deliver(WmPowerBroadcast, 4);
        EXPECT_EQ(client->TakeUntil(ZV_EVT_SYSTEM_SUSPEND), row.Told);
        const Listing listing = List(*Manager, "ZV_ALL");
        EXPECT_EQ(listing.Records.size(), 10U);
        EXPECT_EQ(listing.Records.front().StateFlags, row.Listed);
    }
    EXPECT_EQ(Platform::CountOpenObjects().Windows, 0U);
}

TEST_F(VirtualDriver, CallsClientsOfAllListsAndManagersInOrder)
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
    Manager.reset();
    Deliver(WmPowerBroadcast, 18);
    Deliver(WmPowerBroadcast, 4);
    for (EventClient* client : {user, zv, other})
        EXPECT_EQ(client->TakeUntil(ZV_EVT_SYSTEM_SUSPEND), Events{ZV_EVT_SYSTEM_RESUME});
    twice->TakeUntil(ZV_EVT_SYSTEM_SUSPEND);
    EXPECT_EQ(twice->TakeUntil(ZV_EVT_SYSTEM_SUSPEND), Events());
}

} // namespace
