/// GetZVDeviceList: filters and the two-call protocol.

#include "Faults.h"
#include "Hosting.h"

#include <gtest/gtest.h>

#include <array>
#include <latch>
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

    Platform::ScopedMachine Machine;
    std::shared_ptr<CDeviceManagerIntf> Manager = MakeManager();
};

TEST_F(ListingTest, AFilterSelectsServicesAndAPatternInstanceIds)
{
    const Identities usb = {"zvlwlanu", "zvwlanu"};
    const struct
    {
        const char* Filter;
        const char* Patterns;
        Identities Listed;
    } cases[] = {
        {"ZV_ALL", "", {"zvlwlanu", "zvwlanu", "zvlwlans", "zvwlans", "zvlwlane", "zvwlane"}},
        {"ZV_USB", "", usb},
        {"ZV_SDIO", "", {"zvlwlans", "zvwlans"}},
        {"ZV_PCIE", "", {"zvlwlane", "zvwlane"}},
        {"zvwlane", "", {"zvwlane"}},
        {"othernic,zvwlans", "", {"zvwlans", "othernic"}},
        {"zv_usb", "", {}},
        {"ZVWLANU", "", {}},
        {"ZV_USB ", "", {}},
        {"ZV_USB", "\\zvw", {"zvwlanu"}},
        {"ZV_USB", "zvl;nothing", {"zvlwlanu"}},
        {"ZV_USB", "nothing;zvwlanu", {"zvwlanu"}},
        {"ZV_USB", "vid_1234", {}},
        {"ZV_USB", "nothing;", usb},
        {"ZV_USB", ";", usb},
        {"ZV_USB", "x;y;q", {}},
    };
    for (const auto& [filter, patterns, listed] : cases)
    {
        SCOPED_TRACE(testing::Message() << '"' << filter << "\", \"" << patterns << '"');
        List(*Manager, "nobody"); // Another filter, so that the patterns are read.
        const Listing listing = List(*Manager, filter, patterns);
        EXPECT_EQ(listing.Status, listed.empty() ? ZV_SRVC_ERR_NO_DEVICE : ZV_SRVC_SUCCESS);
        EXPECT_EQ(listing.Identities(), listed);
    }
}

TEST_F(ListingTest, TheSameFilterIsAnsweredFromTheListIgnoringItsPatterns)
{
    const Identities usb = {"zvlwlanu", "zvwlanu"};
    const struct
    {
        const char* Filter;
        const char* Patterns;
        Identities Listed;
        std::uint64_t Walks;
    } cases[] = {
        {"ZV_USB", "", usb, 1}, // The second of the two calls does not walk.
        {"ZV_USB", "nothing", usb, 1},
        {"zvlwlanu,zvwlanu", "", usb, 1}, // The resolved text is compared.
        {"", "", {}, 1},                  // Is refused, and replaces the filter but not the list.
        {"", "", usb, 1},
        {"ZV_SDIO", "", {"zvlwlans", "zvwlans"}, 2},
    };
    for (const auto& row : cases)
    {
        SCOPED_TRACE(&row - cases);
        const Listing listing = List(*Manager, row.Filter, row.Patterns);
        EXPECT_EQ(listing.Status, row.Listed.empty() ? ZV_SRVC_ERR_INVALID_PARAMETER : ZV_SRVC_SUCCESS);
        EXPECT_EQ(listing.Identities(), row.Listed);
        EXPECT_EQ(Machine->Calls("SetupDiGetClassDevsW"), row.Walks);
    }
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
    const _ZV_SRVC_DEVICE_LIST_REQ* requests[] = {nullptr, &wrongTag, &noFilter, &empty.Request, &nobody.Request};
    for (const auto* request : requests)
    {
        _ZV_SRVC_DEVICE_LIST_RSP result{7, 8, nullptr};
        EXPECT_EQ(Manager->GetZVDeviceList(request, &result),
                  request == &nobody.Request ? ZV_SRVC_ERR_NO_DEVICE : ZV_SRVC_ERR_INVALID_PARAMETER);
        EXPECT_EQ(result.Type, 7U);
        EXPECT_EQ(result.Length, 8U);
    }
    EXPECT_EQ(Manager->GetZVDeviceList(&good.Request, nullptr), ZV_SRVC_ERR_INVALID_PARAMETER);
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
            for (std::size_t round = 0; round < 50; ++round)
            {
                const auto& [filter, identities] = wanted[(host + round) % 4];
                ASSERT_EQ(List(*Manager, filter).Identities(), identities) << filter;
            }
        });
}

TEST_F(ListingTest, ListingContinuesDuringAnEnumerationOfAnotherThread)
{
    ASSERT_EQ(List(*Manager, "ZV_USB").Records.size(), 2U);
    std::latch held(1);
    std::latch released(1);
    Machine->OnCall("SetupDiGetClassDevsW", [&] {
        held.count_down();
        released.wait();
    });
    std::jthread slow([&] { EXPECT_EQ(List(*Manager, "ZV_SDIO").Records.size(), 2U); });
    held.wait();
    EXPECT_EQ(List(*Manager, "ZV_USB").Records.size(), 2U) << "no lock is held during a platform call";
    released.count_down();
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
