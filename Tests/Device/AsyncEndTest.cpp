/// Asynchronous requests one after the other, and everything that ends them.

#include "AsyncFixture.h"

#include <algorithm>
#include <latch>
#include <thread>

namespace
{

class AsyncEnd : public Async
{
};

TEST_F(AsyncEnd, RequestsRunOneAtATimeEachFollowedByItsCallback)
{
    AsyncRequest first(1, Code, 10);
    AsyncRequest second(2, Code, 10);
    AsyncRequest third(1, Code, 10);
    std::latch inCallback(1);
    std::latch leave(1);
    first.InCallback = [&] {
        inCallback.count_down();
        leave.wait();
    };
    Send(first);
    const auto read = Driver->Read();
    Send(second);
    // The first runs and waits no more, so its namesake is welcome; a second namesake is not.
    Send(third);
    AsyncRequest again(1, Code, 10);
    EXPECT_EQ(Device->SendIOCTLReq(&again.Record), ZV_SRVC_ERR_ASYNC_PENDING);
    AsyncRequest twin(2, Code + 4, 20);
    EXPECT_EQ(Device->SendIOCTLReq(&twin.Record), ZV_SRVC_ERR_ASYNC_PENDING) << "the id alone counts";
    Driver->End(read, Filled(1, 1));
    inCallback.wait();
    EXPECT_EQ(Driver->Requests().size(), 6U) << "five reads and one request: the second waits for the callback";
    leave.count_down();
    Driver->Chunk(Filled(1, 2));
    EXPECT_EQ(second.Await(), 0U);
    Driver->Chunk(Filled(1, 3));
    EXPECT_EQ(third.Await(), 0U);
    EXPECT_EQ(first.Out[0], 1);
    EXPECT_EQ(second.Out[0], 2);
    EXPECT_EQ(third.Out[0], 3);
    EXPECT_EQ(again.Ends + twin.Ends, 0);
}

TEST_F(AsyncEnd, ARequestWithoutContextOrFunctionHasNoCallback)
{
    AsyncRequest noContext(1, Code, 10);
    noContext.Record.NotifyContext = nullptr;
    AsyncRequest noFunction(2, Code, 10);
    noFunction.Record.NotifyFn = nullptr;
    AsyncRequest last(3, Code, 10);
    last.Record.IsAsync = 2;
    Driver->On(TestDriver::WaitRsp, TestDriver::EndWith(0, Filled(1, 1)));
    for (AsyncRequest* request : {&noContext, &noFunction, &last})
        Send(*request);
    EXPECT_EQ(last.Await(), 0U);
    EXPECT_EQ(noContext.Ends + noFunction.Ends, 0);
    EXPECT_EQ(noContext.Out[0], 1) << "served all the same";
}

TEST_F(AsyncEnd, CloseAndDestructorWaitForTheRunningRequest)
{
    for (const bool close : {true, false})
    {
        std::shared_ptr<CDeviceIntf> device;
        ASSERT_EQ(Open(device), ZV_SRVC_SUCCESS);
        AsyncRequest running(1, Code, 10);
        AsyncRequest queued(2, Code, 10);
        ASSERT_EQ(device->SendIOCTLReq(&running.Record), 0U);
        const auto read = Driver->Read();
        ASSERT_EQ(device->SendIOCTLReq(&queued.Record), 0U);
        std::jthread closer([&] {
            if (close)
                device->Close();
            else
                device.reset();
            EXPECT_EQ(running.Ends + queued.Ends, 2);
        });
        Driver->End(read, Filled(1, 1));
        Driver->Chunk(Filled(1, 2));
    }
}

TEST_F(AsyncEnd, AfterCloseRequestsAreAcceptedAndNeverRun)
{
    auto record = std::make_shared<_ZV_SRVC_DEVICE_INFO>();
    Device->GetDeviceInfo(record.get());
    Device->Close();
    auto dropped = std::make_unique<AsyncRequest>(1, Code, 10);
    EXPECT_EQ(Device->SendIOCTLReq(&dropped->Record), ZV_SRVC_ERR_DEVICE_NOT_OPEN);
    ASSERT_EQ(Device->Open(record), ZV_SRVC_SUCCESS);
    EXPECT_EQ(Device->SendIOCTLReq(&dropped->Record), ZV_SRVC_SUCCESS);
    // The host breaks its promise and frees the record: the library must not read it.
    dropped.reset();
    AsyncRequest request(1, Code, 10);
    EXPECT_EQ(Device->SendIOCTLReq(&request.Record), ZV_SRVC_ERR_ASYNC_PENDING);
    Device.reset();
    EXPECT_EQ(request.Ends, 0);
}

TEST_F(AsyncEnd, ACallbackMayUseTheDeviceWhileAnotherThreadClosesIt)
{
    AsyncRequest request(1, Code, 10);
    std::latch inCallback(1);
    request.InCallback = [&] {
        inCallback.count_down();
        _ZV_SRVC_DEVICE_INFO record{};
        while (Device->GetDeviceInfo(&record) == ZV_SRVC_SUCCESS)
            Device->AccessRegistry(ZV_REG_OP_READ, "", "DriverVersion", nullptr, nullptr, nullptr);
    };
    Send(request);
    Driver->Chunk(Filled(1, 1));
    inCallback.wait();
    EXPECT_EQ(Device->Close(), ZV_SRVC_SUCCESS);
    EXPECT_EQ(request.Await(), 0U);
}

TEST_F(AsyncEnd, AHostMayDropItsDeviceInTheCallback)
{
    AsyncRequest request(1, Code, 10);
    const std::weak_ptr<CDeviceIntf> watched = Device;
    request.InCallback = [&] {
        EXPECT_THROW(Device->Close(), std::system_error);
        Device.reset();
    };
    Send(request);
    Driver->Chunk(Filled(1, 1));
    EXPECT_EQ(request.Await(), 0U);
    EXPECT_TRUE(watched.expired());
}

TEST_F(AsyncEnd, FourThreadsSendMixedRequestsOnFourDevices)
{
    std::shared_ptr<CDeviceIntf> devices[4] = {Device};
    std::shared_ptr<TestDriver> drivers[4] = {Driver};
    for (std::size_t i = 1; i < 4; ++i)
        drivers[i] = PlugAdapter("{dev" + std::to_string(i) + "}");
    List(*Manager, "ZV_PCIE"); // So that the next listing walks again.
    for (std::size_t i = 0; i < 4; ++i)
    {
        drivers[i]->On(TestDriver::WaitRsp, TestDriver::EndWith(0, Filled(7, 7)));
        ASSERT_TRUE(i == 0 || Open(devices[i], "{dev" + std::to_string(i) + "}") == ZV_SRVC_SUCCESS);
    }
    std::vector<std::jthread> hosts;
    hosts.reserve(8);
    for (std::size_t host = 0; host < 8; ++host)
        hosts.emplace_back([&, host] {
            // Four threads share the first device; four have one each.
            CDeviceIntf& device = *devices[host < 4 ? 0 : host - 4];
            for (std::uint16_t round = 0; round < 20; ++round)
            {
                std::uint8_t item[8] = {};
                EXPECT_EQ(device.SetQueryInfo(round % 2 == 0, 1, item, 8), ZV_SRVC_SUCCESS);
                _ZV_SRVC_IOCTL_REQ sync{};
                sync.IoctlCode = Code;
                sync.Timeout = 5000;
                EXPECT_EQ(device.SendIOCTLReq(&sync), ZV_SRVC_SUCCESS);
                _ZV_SRVC_DEVICE_INFO record{};
                EXPECT_EQ(device.GetDeviceInfo(&record), ZV_SRVC_SUCCESS);
                AsyncRequest async(static_cast<std::uint16_t>(host), Code, 7);
                ASSERT_EQ(device.SendIOCTLReq(&async.Record), ZV_SRVC_SUCCESS);
                EXPECT_EQ(async.Await(), 0U);
                EXPECT_EQ(async.Out, Filled(7, 7));
            }
        });
}

TEST_F(AsyncEnd, ReadsThatCompleteTogetherAreTakenInOrderAndSentAgain)
{
    Driver->On(Code, Driver->Hold());
    AsyncRequest request(1, Code, 1100);
    Send(request);
    const auto main = Driver->Held(Code);
    // The library takes no chunks before the main request is sent: all five reads complete, the last first.
    std::vector<TestDriver::RequestPtr> reads(5);
    std::ranges::generate(reads, [&] { return Driver->Read(); });
    for (std::size_t i = 5; i-- > 0;)
        reads[i]->Complete(0, Filled(200, static_cast<std::uint8_t>(i)));
    main->Complete(0);
    Driver->Chunk(Filled(100, 9));
    EXPECT_EQ(request.Await(), 0U);
    Bytes expected;
    for (std::uint8_t i = 0; i < 5; ++i)
        expected = expected + Filled(200, i);
    EXPECT_EQ(request.Out, expected + Filled(100, 9));
}

TEST_F(AsyncEnd, AFailedCallEndsTheResponse)
{
    for (const char* failure : {"read", "WaitForMultipleObjects", "GetOverlappedResult"})
    {
        AsyncRequest request(1, Code, 300);
        Driver->On(Code, Driver->Hold());
        Send(request);
        const auto main = Driver->Held(Code);
        const auto first = Driver->Read();
        if (std::string_view(failure) == "read")
        {
            first->Complete(0, Filled(200, 1));
            Driver->Read()->Complete(1617);
        }
        else
            Machine->FailCall(failure, 1, 6);
        main->Complete(0);
        EXPECT_EQ(request.Await(), 0U) << failure;
        EXPECT_EQ(request.Out[0], std::string_view(failure) == "read" ? 1 : 0xEE) << failure;
        Machine->ClearFaults();
    }
    Machine->FailCall("CreateFileA", 1, 2);
    AsyncRequest request(1, Code, 8);
    Send(request);
    EXPECT_EQ(request.Await(), 1U) << "control device removed";
}

} // namespace
