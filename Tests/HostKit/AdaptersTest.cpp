// Listing and opening.
#include "FakeManager.h"

#include <HostKit/HostKit.h>
#include <HostKit/Testing.h>

#include <gtest/gtest.h>

namespace
{

TEST(Adapters, ListsAgainWhileTheListGrows)
{
    const struct
    {
        std::deque<std::size_t> Counts;
        int Listings;
        std::size_t Listed;
    } cases[] = {
        {{3}, 1, 3}, {{16}, 1, 16}, {{17, 17}, 2, 17}, {{20, 21, 40, 40}, 4, 40}, {{40, 2}, 2, 2}, {{40, 0}, 2, 0},
    };
    for (const auto& row : cases)
    {
        FakeManager manager;
        manager.Counts = row.Counts;
        const auto adapters = HostKit::ListAdapters(manager);
        EXPECT_EQ(adapters.size(), row.Listed);
        EXPECT_EQ(manager.Listings, row.Listings);
        for (std::size_t i = 0; i < adapters.size(); ++i)
            EXPECT_EQ(std::string(adapters[i].DeviceName), std::string(i + 1, 'x'));
    }
}

TEST(Adapters, StopsListingAManagerThatNeverFits)
{
    FakeManager manager;
    manager.Counts.clear();
    for (std::size_t i = 0; i < 1000; ++i)
        manager.Counts.push_back(17 + i);
    std::error_code error;
    EXPECT_TRUE(HostKit::ListAdapters(manager, {}, error).empty());
    EXPECT_EQ(error, HostKit::MakeError(ZV_SRVC_ERR_BUFFER_TOO_SMALL));
}

TEST(Adapters, AnEmptyListIsNoErrorButEveryOtherStatusIs)
{
    for (const unsigned int status : {ZV_SRVC_ERR_NO_DEVICE, ZV_SRVC_ERR_FAILURE, ZV_SRVC_ERR_INVALID_PARAMETER})
    {
        FakeManager manager;
        manager.Status = status;
        std::error_code error = HostKit::MakeError(1);
        EXPECT_TRUE(HostKit::ListAdapters(manager, {}, error).empty());
        EXPECT_EQ(error, HostKit::MakeError(status == ZV_SRVC_ERR_NO_DEVICE ? ZV_SRVC_SUCCESS : status));
        if (status == ZV_SRVC_ERR_NO_DEVICE)
            EXPECT_TRUE(HostKit::ListAdapters(manager).empty());
        else
            EXPECT_THROW(HostKit::ListAdapters(manager), std::system_error) << status;
    }
}

/// The real library.
TEST(Adapters, FiltersByBusNameAndInstance)
{
    HostKit::TestMachine machine;
    machine.Add({.Identity = "{usb}", .Name = "Blue"});
    machine.Add({.Identity = "{sdio}", .Name = "Blue green", .Service = "zvwlans"});
    machine.Add({.Identity = "{pcie}", .Name = "Red", .Service = "zvwlane"});
    const auto manager = HostKit::CreateManager();
    const struct
    {
        HostKit::AdapterFilter Filter;
        std::vector<std::string> Listed;
    } cases[] = {
        {{}, {"{usb}", "{sdio}", "{pcie}"}},     {{.Services = "ZV_SDIO"}, {"{sdio}"}},
        {{.Name = "Blue"}, {"{usb}", "{sdio}"}}, {{.Name = "Blue", .InstanceId = "{sdio}"}, {"{sdio}"}},
        {{.InstanceId = "{none}"}, {}},          {{.Services = "nobody"}, {}},
    };
    for (const auto& [filter, listed] : cases)
    {
        std::vector<std::string> identities;
        for (const HostKit::Adapter& adapter : HostKit::ListAdapters(*manager, filter))
            identities.emplace_back(adapter.NetCfgInstanceId);
        EXPECT_EQ(identities, listed);
    }
    EXPECT_THROW(HostKit::ListAdapters(*manager, {.Services = std::string(50, 'x')}), std::system_error);
}

TEST(Adapters, OpensADeviceOfAnAdapterWhoseDriverDoesNotAnswer)
{
    HostKit::TestMachine machine;
    const HostKit::TestAdapter test = machine.Add({.Identity = "{test}", .DriverSettings = R"({"refuse": 31})"});
    const auto manager = HostKit::CreateManager();
    const auto adapters = HostKit::ListAdapters(*manager);
    ASSERT_EQ(adapters.size(), 1U);
    EXPECT_THROW(HostKit::OpenDevice(*manager, adapters.front()), std::system_error);
    std::error_code error;
    const HostKit::Device device = HostKit::OpenDevice(*manager, adapters.front(), error);
    EXPECT_EQ(error, HostKit::MakeError(ZV_SRVC_ERR_CONTROL_DEVICE));
    test.BehaveNormally();
    EXPECT_EQ(device.Send({.Code = 0x222000, .Input = {1, 2}, .OutputSize = 2}).Value(), (HostKit::Bytes{1, 2}));
    EXPECT_FALSE(HostKit::OpenDevice(*manager, {}, error));
    EXPECT_EQ(error, HostKit::MakeError(ZV_SRVC_ERR_NO_DEVICE));
}

} // namespace
