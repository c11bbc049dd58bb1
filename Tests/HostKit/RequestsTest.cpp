// Requests and the memory that the library uses for them.
#include "FakeManager.h"

#include <HostKit/HostKit.h>
#include <HostKit/Testing.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>

namespace
{

using namespace std::chrono_literals;

using HostKit::Bytes;

constexpr std::uint32_t Code = 0x222000;

bool IsReady(const std::future<HostKit::Result>& future)
{
    return future.wait_for(0s) == std::future_status::ready;
}

/// A device whose requests complete when the test says so. Until it is destroyed, it uses the memory of the others.
class FakeDevice final : public CDeviceIntf
{
public:
    explicit FakeDevice(std::function<unsigned int(std::uint16_t)> accept = nullptr) : Accept(std::move(accept)) {}
    ~FakeDevice()
    {
        for (const auto& [id, request] : Waiting)
        {
            Read(*request);
            std::fill_n(static_cast<std::uint8_t*>(request->OutBuffer), request->OutLength, 0x5A);
        }
    }

    unsigned int SendIOCTLReq(_ZV_SRVC_IOCTL_REQ* request) override
    {
        const unsigned int status = Accept ? Accept(request->RequestId) : ZV_SRVC_SUCCESS;
        if (status != ZV_SRVC_SUCCESS || request->IsAsync == 0)
            return status;
        Newest = request->RequestId;
        EXPECT_TRUE(Waiting.emplace(Newest, request).second) << "the id is in use";
        return status;
    }
    /// Completes the newest request.
    void Complete(std::uint32_t status)
    {
        _ZV_SRVC_IOCTL_REQ* const request = Waiting.extract(Newest).mapped();
        std::fill_n(static_cast<std::uint8_t*>(request->OutBuffer), request->OutLength, 0x11);
        const _ZV_ASYNC_RESULT result{ZV_ASYNC_IOCTL_DONE, 8, request};
        request->NotifyFn(request->NotifyContext, status, &result);
    }

    unsigned int Open(std::shared_ptr<_ZV_SRVC_DEVICE_INFO>& /*record*/) override { return 0; }
    unsigned int Close() override { return 0; }
    unsigned int GetAbility(std::uint32_t* /*result*/) override { return 0; }
    unsigned int GetDeviceInfo(_ZV_SRVC_DEVICE_INFO* /*record*/) override { return 0; }
    unsigned int SetQueryInfo(std::uint8_t, std::uint32_t, void*, std::uint32_t) override { return 0; }
    unsigned int AccessRegistry(std::uint32_t, std::string, std::string, std::uint32_t*, std::uint8_t*,
                                std::uint32_t*) override
    {
        return 0;
    }

    std::function<unsigned int(std::uint16_t)> Accept;
    std::map<std::uint16_t, _ZV_SRVC_IOCTL_REQ*> Waiting;
    std::uint16_t Newest = 0;
    std::size_t Sum = 0;

private:
    void Read(const _ZV_SRVC_IOCTL_REQ& request)
    {
        const auto* const input = static_cast<const std::uint8_t*>(request.InBuffer);
        for (std::size_t i = 0; i < request.InLength; ++i)
            Sum += input[i];
    }
};

HostKit::Device Hold(std::shared_ptr<FakeDevice> fake)
{
    return HostKit::Device(std::shared_ptr<CDeviceIntf>(std::move(fake)));
}

const HostKit::Request Large{.Code = Code, .Input = Bytes(3000, 1), .OutputSize = 5000};

TEST(Requests, TheFutureIsReadyAlthoughTheCallbackNeverComes)
{
    for (const bool closes : {true, false})
    {
        HostKit::Device device = Hold(std::make_shared<FakeDevice>());
        std::future<HostKit::Result> future = device.SendAsync(Large);
        device.SendAsync(Large); // its future is dropped
        std::shared_ptr<CDeviceIntf> interface = device.Interface();
        if (closes)
            device.Close();
        device = {};
        EXPECT_EQ(IsReady(future), closes) << "the interface keeps the device";
        interface.reset();
        ASSERT_TRUE(IsReady(future));
        const HostKit::Result result = future.get();
        EXPECT_EQ(result.Error, std::errc::operation_canceled);
        EXPECT_TRUE(result.Output.empty());
    }
}

TEST(Requests, CompleteWithOutputOrError)
{
    auto fake = std::make_unique<FakeDevice>();
    FakeDevice& library = *fake;
    const HostKit::Device device = Hold(std::move(fake));
    for (const unsigned int status : {ZV_SRVC_SUCCESS, ZV_SRVC_ERR_FAILURE})
    {
        std::future<HostKit::Result> future = device.SendAsync({.Code = Code, .OutputSize = 3});
        EXPECT_FALSE(IsReady(future));
        library.Complete(status);
        ASSERT_TRUE(IsReady(future));
        const HostKit::Result result = future.get();
        EXPECT_EQ(result.Error, HostKit::MakeError(status));
        EXPECT_EQ(result.Output, status == ZV_SRVC_SUCCESS ? Bytes(3, 0x11) : Bytes());
    }
}

TEST(Requests, ARefusedRequestHasTheErrorAtOnce)
{
    auto fake = std::make_unique<FakeDevice>([](std::uint16_t) { return ZV_SRVC_ERR_DEVICE_NOT_OPEN; });
    FakeDevice& library = *fake;
    const HostKit::Device device = Hold(std::move(fake));
    EXPECT_EQ(device.SendAsync(Large).get().Error, HostKit::MakeError(ZV_SRVC_ERR_DEVICE_NOT_OPEN));
    EXPECT_THROW(device.Send(Large).Value(), std::system_error);
    library.Accept = [](std::uint16_t) -> unsigned int { throw std::bad_alloc(); };
    EXPECT_THROW(device.SendAsync(Large), std::bad_alloc);
    device.Close();
    library.Accept = [](std::uint16_t) -> unsigned int { return ADD_FAILURE() << "sent after Close", 0; };
    EXPECT_EQ(device.SendAsync(Large).get().Error, HostKit::MakeError(ZV_SRVC_ERR_DEVICE_NOT_OPEN));
}

TEST(Requests, ChooseAnIdThatNoOtherRequestHas)
{
    // The host has sent requests with the ids 1 to 3 itself.
    auto fake = std::make_unique<FakeDevice>(
        [](std::uint16_t id) { return id <= 3 ? ZV_SRVC_ERR_ASYNC_PENDING : ZV_SRVC_SUCCESS; });
    FakeDevice& library = *fake;
    const HostKit::Device device = Hold(std::move(fake));
    std::vector<std::future<HostKit::Result>> futures;
    for (std::size_t i = 1; i <= 5; ++i)
    {
        futures.push_back(device.SendAsync({.Code = Code}));
        ASSERT_EQ(library.Waiting.size(), i);
    }
    // Until the numbers have wrapped round: a waiting request keeps its own.
    for (int i = 0; i < 0x10000; ++i)
    {
        futures.push_back(device.SendAsync({.Code = Code}));
        ASSERT_EQ(library.Waiting.size(), 6U);
        library.Complete(ZV_SRVC_SUCCESS);
    }
    EXPECT_FALSE(library.Waiting.contains(0));
}

/// Close on another thread, after the request was recorded and before or after the library has accepted it.
TEST(Requests, CloseDuringSendCompletesTheFutureOnce)
{
    for (const unsigned int status : {ZV_SRVC_SUCCESS, ZV_SRVC_ERR_DEVICE_NOT_OPEN})
    {
        HostKit::Device device;
        device = Hold(std::make_shared<FakeDevice>([&](std::uint16_t) {
            device.Close();
            return status;
        }));
        EXPECT_EQ(device.SendAsync(Large).get().Error, std::errc::operation_canceled);
    }
}

TEST(Requests, NeedTheOnlyReferenceToADevice)
{
    std::shared_ptr<CDeviceIntf> device = std::make_shared<FakeDevice>();
    const std::shared_ptr<CDeviceIntf> other = device;
    EXPECT_THROW(HostKit::Device(std::move(device)), std::invalid_argument);
    EXPECT_THROW(HostKit::Device(std::shared_ptr<CDeviceIntf>()), std::invalid_argument);
}

/// The real library.
class RealRequests : public testing::Test
{
protected:
    HostKit::TestMachine Machine;
    HostKit::TestAdapter Adapter =
        Machine.Add({.Identity = "{test}", .DriverSettings = R"({"items": {"0x10": "0a0b"}, "response": "c1c2c3"})"});
    std::shared_ptr<CDeviceManagerIntf> Manager = HostKit::CreateManager();
    HostKit::Device Device = HostKit::OpenDevice(*Manager, HostKit::ListAdapters(*Manager).at(0));
};

TEST_F(RealRequests, ReturnWhatTheDriverAnswers)
{
    EXPECT_EQ(Device.Send({.Code = Code, .Input = {1, 2, 3}, .OutputSize = 4}).Value(), (Bytes{1, 2, 3, 0}));
    EXPECT_EQ(Device.SendAsync({.Code = Code, .OutputSize = 3}).get().Value(), (Bytes{0xC1, 0xC2, 0xC3}));
    EXPECT_EQ(Device.QueryItem(0x10, 2).Value(), (Bytes{0x0A, 0x0B}));
    EXPECT_FALSE(Device.SetItem(0x10, Bytes{7, 8}));
    EXPECT_EQ(Device.QueryItem(0x10, 2).Value(), (Bytes{7, 8}));
    EXPECT_EQ(Device.Send({.Code = Code, .Timeout = -5ms}).Error, std::error_code());
}

TEST_F(RealRequests, ManyRunAtOnceAndCompleteBeforeTheDeviceIsReleased)
{
    std::vector<std::future<HostKit::Result>> futures;
    futures.reserve(50);
    for (int i = 0; i < 50; ++i)
        futures.push_back(Device.SendAsync({.Code = Code, .OutputSize = 3}));
    Device = {};
    for (auto& future : futures)
    {
        ASSERT_TRUE(IsReady(future));
        const HostKit::Result result = future.get();
        EXPECT_TRUE(!result.Error || result.Error == std::errc::operation_canceled);
    }
}

TEST_F(RealRequests, ARequestThatTheDriverNeverCompletesEndsByItsTimeOut)
{
    Adapter.Hang();
    EXPECT_EQ(Device.SendAsync({.Code = Code, .Timeout = 1ms}).get().Error, HostKit::MakeError(ZV_SRVC_ERR_FAILURE));
    // Its reads wait when the adapter leaves, and the next request is not sent.
    Adapter.BehaveNormally();
    Adapter.Silent();
    std::future<HostKit::Result> silent = Device.SendAsync({.Code = Code, .OutputSize = 3});
    Adapter.Unplug();
    EXPECT_EQ(silent.wait_for(Bound), std::future_status::ready);
    EXPECT_TRUE(Machine.WaitUntilIdle());
    EXPECT_EQ(Device.SendAsync(Large).get().Error, HostKit::MakeError(ZV_SRVC_ERR_DEVICE_NOT_OPEN));
}

} // namespace
