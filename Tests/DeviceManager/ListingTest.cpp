/// GetZVDeviceList: filters and the two-call protocol.

#include "Faults.h"
#include "Hosting.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <new>
#include <thread>

namespace
{

using Identities = std::vector<std::string>;

class ListingTest : public testing::Test
{
protected:
    ListingTest()
    {
        for (const char* service : {"zvlwlanu", "zvwlanu", "zvlwlans", "zvwlans", "zvlwlane", "zvwlane", "othernic"})
            Machine->AddAdapter(GivenAdapter(service, service));
    }

    std::uint64_t Walks() const { return Machine->Calls("SetupDiGetClassDevsW"); }

    Platform::ScopedMachine Machine;
    std::shared_ptr<CDeviceManagerIntf> Manager = MakeManager();
};

TEST_F(ListingTest, AFilterSelectsItsServices)
{
    const struct
    {
        const char* Filter;
        Identities Listed;
    } cases[] = {
        {"ZV_ALL", {"zvlwlanu", "zvwlanu", "zvlwlans", "zvwlans", "zvlwlane", "zvwlane"}},
        {"ZV_USB", {"zvlwlanu", "zvwlanu"}},
        {"ZV_SDIO", {"zvlwlans", "zvwlans"}},
        {"ZV_PCIE", {"zvlwlane", "zvwlane"}},
        {"zvwlane", {"zvwlane"}},
        {"othernic,zvwlans", {"zvwlans", "othernic"}},
        {"zv_usb", {}},
        {"ZVWLANU", {}},
        {"ZV_USB ", {}},
    };
    for (const auto& [filter, listed] : cases)
    {
        const Listing listing = List(*Manager, filter);
        EXPECT_EQ(listing.Status, listed.empty() ? ZV_SRVC_ERR_NO_DEVICE : ZV_SRVC_SUCCESS) << filter;
        EXPECT_EQ(listing.Identities(), listed) << filter;
    }
}

TEST_F(ListingTest, PatternsAreSubstringsOfTheInstanceId)
{
    const struct
    {
        const char* Patterns;
        Identities Listed;
    } cases[] = {
        {"", {"zvlwlanu", "zvwlanu"}},
        {"\\zvw", {"zvwlanu"}},
        {"zvl;nothing", {"zvlwlanu"}},
        {"nothing;zvwlanu", {"zvwlanu"}},
        {"vid_1234", {}},
        {"nothing;", {"zvlwlanu", "zvwlanu"}},
        {";", {"zvlwlanu", "zvwlanu"}},
        {"VID_1234\\zvlwlanu", {"zvlwlanu"}},
        {"x;y;q", {}},
    };
    for (const auto& [patterns, listed] : cases)
    {
        List(*Manager, "ZV_PCIE"); // Another filter in between, so that the patterns are read.
        EXPECT_EQ(List(*Manager, "ZV_USB", patterns).Identities(), listed) << '"' << patterns << '"';
    }
}

TEST_F(ListingTest, TheSameFilterIsAnsweredFromTheListIgnoringItsPatterns)
{
    EXPECT_EQ(List(*Manager, "ZV_USB").Records.size(), 2U);
    EXPECT_EQ(Walks(), 1U) << "the second of the two calls does not walk";
    EXPECT_EQ(List(*Manager, "ZV_USB", "nothing").Records.size(), 2U);
    EXPECT_EQ(List(*Manager, "zvlwlanu,zvwlanu").Records.size(), 2U) << "the resolved text is what counts";
    EXPECT_EQ(Walks(), 1U);
    EXPECT_EQ(List(*Manager, "ZV_SDIO").Identities(), (Identities{"zvlwlans", "zvwlans"}));
    EXPECT_EQ(Walks(), 2U);
}

TEST_F(ListingTest, TheTwoCallProtocolCountsBytesExactly)
{
    const FilterRecord filter("ZV_USB");
    std::array<std::byte, 2 * 724 + 1> buffer{};
    const struct
    {
        bool Null;
        std::uint32_t Room;
        unsigned int Status;
    } cases[] = {
        {true, 0, ZV_SRVC_ERR_BUFFER_TOO_SMALL},
        {true, 9999, ZV_SRVC_ERR_BUFFER_TOO_SMALL},
        {false, 0, ZV_SRVC_ERR_BUFFER_TOO_SMALL},
        {false, 724, ZV_SRVC_ERR_BUFFER_TOO_SMALL},
        {false, 1447, ZV_SRVC_ERR_BUFFER_TOO_SMALL},
        {false, 1448, ZV_SRVC_SUCCESS},
        {false, 1449, ZV_SRVC_SUCCESS},
    };
    for (const auto& [null, room, status] : cases)
    {
        buffer.fill(std::byte{0xEE});
        // One byte off, as a host's buffer may lie anywhere.
        auto* place = reinterpret_cast<_ZV_SRVC_DEVICE_INFO*>(buffer.data() + 1);
        _ZV_SRVC_DEVICE_LIST_RSP result{0x1234, room, null ? nullptr : place};
        EXPECT_EQ(Manager->GetZVDeviceList(&filter.Request, &result), status) << room;
        EXPECT_EQ(result.Length, 1448U) << room;
        EXPECT_EQ(result.Type, status == ZV_SRVC_SUCCESS ? 0x1234U : ZV_DEVICE_LIST_RSP_TAG) << room;
        EXPECT_EQ(buffer[1] == std::byte{0xEE}, status != ZV_SRVC_SUCCESS) << room;
        EXPECT_EQ(buffer[0], std::byte{0xEE});
    }
}

TEST_F(ListingTest, ARefusedCallLeavesTheResultUnchanged)
{
    const FilterRecord good("ZV_USB");
    const FilterRecord empty("");
    const FilterRecord nobody("nobody");
    _ZV_SRVC_DEVICE_LIST_REQ wrongTag = good.Request;
    wrongTag.Type = ZV_DEVICE_LIST_RSP_TAG;
    _ZV_SRVC_DEVICE_LIST_REQ noFilter = good.Request;
    noFilter.Parameters = nullptr;
    const struct
    {
        const _ZV_SRVC_DEVICE_LIST_REQ* Request;
        unsigned int Status;
    } cases[] = {
        {&wrongTag, ZV_SRVC_ERR_INVALID_PARAMETER}, {&noFilter, ZV_SRVC_ERR_INVALID_PARAMETER},
        {nullptr, ZV_SRVC_ERR_INVALID_PARAMETER},   {&empty.Request, ZV_SRVC_ERR_INVALID_PARAMETER},
        {&nobody.Request, ZV_SRVC_ERR_NO_DEVICE},
    };
    for (const auto& [request, status] : cases)
    {
        _ZV_SRVC_DEVICE_LIST_RSP result{7, 8, nullptr};
        EXPECT_EQ(Manager->GetZVDeviceList(request, &result), status);
        EXPECT_EQ(result.Type, 7U);
        EXPECT_EQ(result.Length, 8U);
    }
    EXPECT_EQ(Manager->GetZVDeviceList(&good.Request, nullptr), ZV_SRVC_ERR_INVALID_PARAMETER);
}

TEST_F(ListingTest, AnEmptyFilterKeepsTheListAndThenAnswersFromIt)
{
    ASSERT_EQ(List(*Manager, "ZV_USB").Records.size(), 2U);
    EXPECT_EQ(List(*Manager, "").Status, ZV_SRVC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(List(*Manager, "").Identities(), (Identities{"zvlwlanu", "zvwlanu"}));
    EXPECT_EQ(Walks(), 1U);
}

TEST_F(ListingTest, AListingWithoutMemoryKeepsFilterAndListConsistent)
{
    const FilterRecord usb("ZV_USB");
    const FilterRecord pcie("ZV_PCIE", "a pattern longer than what a text keeps inside;zv;wlan");
    _ZV_SRVC_DEVICE_LIST_RSP result{};
    for (int nth = 1;; ++nth)
    {
        ASSERT_EQ(List(*Manager, "ZV_USB").Records.size(), 2U);
        FailAllocation(nth);
        try
        {
            Manager->GetZVDeviceList(&pcie.Request, &result);
            break;
        }
        catch (const std::bad_alloc&)
        {
            EXPECT_EQ(List(*Manager, "ZV_PCIE").Identities(), (Identities{"zvlwlane", "zvwlane"})) << nth;
        }
    }
    FailAllocation(0);
}

TEST_F(ListingTest, TwoManagersDoNotShareTheirLists)
{
    const auto other = MakeManager();
    EXPECT_EQ(List(*Manager, "ZV_USB").Identities(), (Identities{"zvlwlanu", "zvwlanu"}));
    EXPECT_EQ(List(*other, "ZV_PCIE").Identities(), (Identities{"zvlwlane", "zvwlane"}));
    EXPECT_EQ(List(*Manager, "ZV_USB").Identities(), (Identities{"zvlwlanu", "zvwlanu"}));
    EXPECT_EQ(Walks(), 2U);
}

TEST_F(ListingTest, FourThreadsWithChangingFiltersEachGetTheirAdapters)
{
    const std::pair<const char*, Identities> wanted[] = {
        {"ZV_USB", {"zvlwlanu", "zvwlanu"}},
        {"ZV_SDIO", {"zvlwlans", "zvwlans"}},
        {"ZV_PCIE", {"zvlwlane", "zvwlane"}},
        {"othernic", {"othernic"}},
    };
    std::vector<std::jthread> hosts;
    hosts.reserve(4);
    for (std::size_t host = 0; host < 4; ++host)
        hosts.emplace_back([&, host] {
            std::array<_ZV_SRVC_DEVICE_INFO, 8> buffer;
            for (std::size_t round = 0; round < 50; ++round)
            {
                const auto& [filter, identities] = wanted[(host + round) % 4];
                const FilterRecord record(filter);
                _ZV_SRVC_DEVICE_LIST_RSP result{0, sizeof buffer, buffer.data()};
                ASSERT_EQ(Manager->GetZVDeviceList(&record.Request, &result), ZV_SRVC_SUCCESS);
                ASSERT_EQ(result.Length, identities.size() * 724) << filter;
                for (std::size_t i = 0; i < identities.size(); ++i)
                    ASSERT_EQ(buffer.at(i).NetCfgInstanceId, identities[i]) << filter;
            }
        });
}

TEST_F(ListingTest, ListingContinuesDuringAnEnumerationOfAnotherThread)
{
    ASSERT_EQ(List(*Manager, "ZV_USB").Records.size(), 2U);
    std::atomic<bool> held{false};
    std::atomic<bool> release{false};
    Machine->OnCall("SetupDiGetClassDevsW", [&] {
        held = true;
        held.notify_all();
        release.wait(false);
    });
    std::jthread slow([&] { EXPECT_EQ(List(*Manager, "ZV_SDIO").Records.size(), 2U); });
    held.wait(false);
    EXPECT_EQ(List(*Manager, "ZV_USB").Records.size(), 2U) << "no lock is held during a platform call";
    release = true;
    release.notify_all();
    slow.join();
    EXPECT_EQ(List(*Manager, "ZV_SDIO").Identities(), (Identities{"zvlwlans", "zvwlans"}));
}

TEST_F(ListingTest, OpenDeviceFindsOnlyListedAdapters)
{
    _ZV_SRVC_DEVICE_INFO record{};
    std::string("zvwlanu").copy(record.NetCfgInstanceId, 49);
    std::shared_ptr<CDeviceIntf> device;
    EXPECT_EQ(Manager->OpenDevice(&record, ZV_SRVC_DEVICE_UWP, device), ZV_SRVC_ERR_NO_DEVICE);
    List(*Manager, "ZV_USB");
    EXPECT_EQ(Manager->OpenDevice(&record, ZV_SRVC_DEVICE_MANAGER_UWP, device), ZV_SRVC_ERR_INTERFACE_TYPE);
    List(*Manager, "ZV_SDIO");
    EXPECT_EQ(Manager->OpenDevice(&record, ZV_SRVC_DEVICE_UWP, device), ZV_SRVC_ERR_NO_DEVICE);
    EXPECT_EQ(Manager->OpenDevice(nullptr, ZV_SRVC_DEVICE_UWP, device), ZV_SRVC_ERR_NO_DEVICE);
    EXPECT_EQ(device, nullptr);
}

} // namespace
