/// The simulated driver: bound by its file in the current directory, entry by entry.

#include "CVirtualDriverBinding.h"

#include "Hosting.h"

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
        {"all", true, {true, true, false, false, true}},
        {"requests-only", true, {false, false, false, false, true}},
        {"nothing", true, {}},
        {"unloadable", true, {}},
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

TEST(VirtualDriver, EachEntryReplacesItsBranchAlone)
{
    GoTo("requests-only");
    Platform::ScopedMachine machine;
    machine->AddAdapter(GivenAdapter("{real}", "zvwlanu"));
    EXPECT_EQ(List(*MakeManager(), "ZV_USB").Identities(), std::vector<std::string>{"{real}"});
}

TEST(VirtualDriver, AFileThatCannotBeLoadedLeavesTheRealSystem)
{
    GoTo("unloadable");
    Platform::ScopedMachine machine;
    machine->AddAdapter(GivenAdapter("{real}", "zvwlanu"));
    EXPECT_EQ(List(*MakeManager(), "ZV_USB").Identities(), std::vector<std::string>{"{real}"});
}

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
        // An empty list is asked for anew, so every case starts with a filter that is not held.
        const Listing listing = List(*manager, length);
        EXPECT_EQ(listing.Status, ZV_SRVC_SUCCESS) << length;
        ASSERT_EQ(listing.Records.size(), records) << length;
        for (const _ZV_SRVC_DEVICE_INFO& record : listing.Records)
        {
            EXPECT_EQ(record.StateFlags, 9U);
            EXPECT_EQ(std::string(record.InfSection, 50), std::string(50, 'x')) << "copied as it is";
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
