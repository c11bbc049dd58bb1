/// The simulated driver: bound by its file in the current directory, entry by entry.

#include "CVirtualDriverBinding.h"

#include "TestMachine.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace
{

void GoTo(const char* folder)
{
    std::filesystem::current_path(std::filesystem::path(ZV_TEST_DRIVERS) / folder);
}

struct Bound
{
    bool Events, Enum, SetQuery, Registry, Ioctl;
    friend bool operator==(const Bound&, const Bound&) = default;

    static Bound Now()
    {
        return {Virtual_RegisterPnPHandler != nullptr, Virtual_EnumZVDevice != nullptr,
                Virtual_Dev_SetQueryInfo != nullptr, Virtual_AccessRegistry != nullptr,
                Virtual_SendIOCTLReq != nullptr};
    }
};

TEST(VirtualDriver, BindsWhatTheFileExportsAndUnbindsIt)
{
    const struct
    {
        const char* Folder;
        bool Loaded;
        Bound Entries;
    } cases[] = {
        {".", false, {}},
        {"nothing", true, {}},
        {"unloadable", true, {}},
        // Stays loaded, and so is last: a thread may be in a bound entry when the process ends.
        {"requests-only", true, {false, false, false, false, true}},
    };
    for (const auto& [folder, loaded, entries] : cases)
    {
        GoTo(folder);
        CVirtualDriverBinding binding;
        EXPECT_EQ(binding.Load(), loaded) << folder;
        EXPECT_EQ(binding.IsLoaded(), loaded) << folder;
        EXPECT_EQ(Bound::Now(), entries) << folder;
        binding.Unload();
        EXPECT_FALSE(binding.IsLoaded()) << folder;
        EXPECT_EQ(Bound::Now(), Bound{}) << folder;
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

TEST(VirtualDriver, DeliversWholeRecordsAndNoMoreThanTen)
{
    GoTo("all");
    const auto manager = MakeManager();
    const struct
    {
        const char* Length;
        std::size_t Records;
    } cases[] = {{"7240", 10}, {"724", 1}, {"723", 0}, {"1450", 2}, {"0", 0}, {"7964", 10}, {"0xFFFFFFFF", 10}};
    for (const auto& [length, records] : cases)
    {
        setenv("TEST_LENGTH", length, 1);
        setenv("TEST_FLAGS", "0x9", 1);
        // An empty list is enumerated again, so every case starts with an unknown filter.
        const Listing listing = List(*manager, length);
        EXPECT_EQ(listing.Status, ZV_SRVC_SUCCESS) << length;
        ASSERT_EQ(listing.Records.size(), records) << length;
        for (const _ZV_SRVC_DEVICE_INFO& record : listing.Records)
        {
            EXPECT_EQ(record.StateFlags, 9U);
            EXPECT_EQ(std::string(record.InfSection, 50), std::string(50, 'x')) << "copied unchanged";
        }
    }
}

TEST(VirtualDriver, NoFilterAppliesToItsRecordsAndTheListIsKept)
{
    GoTo("all");
    const auto manager = MakeManager();
    EXPECT_EQ(List(*manager, "").Status, ZV_SRVC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(List(*manager, "ZV_USB", "no such pattern").Records.size(), 10U);
    setenv("TEST_LENGTH", "724", 1);
    EXPECT_EQ(List(*manager, "ZV_USB").Records.size(), 10U) << "from the list";
    EXPECT_EQ(List(*manager, "ZV_SDIO").Records.size(), 1U);
}

} // namespace
