/// Asynchronous requests: chunks, ends and everything that can come in between.

#include "DeviceFixture.h"
#include "Platform.h"

#include <algorithm>
#include <latch>
#include <thread>

namespace
{

constexpr std::uint32_t Code = 0x99000000;

class Async : public DeviceTest
{
protected:
    Async() { OpenIt(); }
    ~Async() override
    {
        if (Device != nullptr)
            Device->Close(); // Before the requests of a test go out of scope.
    }

    void Send(AsyncRequest& request) { ASSERT_EQ(Device->SendIOCTLReq(&request.Record), ZV_SRVC_SUCCESS); }
};

Bytes Filled(std::size_t size, std::uint8_t value)
{
    Bytes bytes(size, value);
    return bytes;
}

Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

TEST_F(Async, ChunksAreCollectedUntilAShortOneAndCutToTheHostsRoom)
{
    const struct
    {
        std::size_t Room;
        std::vector<std::size_t> Chunks;
        std::size_t Delivered;
    } cases[] = {
        {450, {200, 200, 50}, 450}, {500, {200, 200, 50}, 450}, {100, {200, 200, 50}, 100},
        {0, {200, 50}, 0},          {400, {200, 200, 0}, 400},  {10, {0}, 0},
        {200, {199}, 199},
    };
    std::uint16_t id = 0;
    for (const auto& [room, chunks, delivered] : cases)
    {
        AsyncRequest request(id++, Code, room);
        Send(request);
        Bytes response;
        for (std::size_t i = 0; i < chunks.size(); ++i)
        {
            const Bytes chunk = Filled(chunks[i], static_cast<std::uint8_t>(i + 1));
            Driver->Chunk(chunk);
            response = response + chunk;
        }
        EXPECT_EQ(request.Await(), 0U);
        response.resize(delivered);
        EXPECT_EQ(request.Out, response + Filled(room - delivered, 0xEE)) << room;
    }
}

TEST_F(Async, TheMainRequestMayEndBeforeDuringOrAfterTheResponse)
{
    for (int moment = 0; moment < 3; ++moment)
    {
        Driver->On(Code, Driver->Hold());
        AsyncRequest request(1, Code, 300);
        Send(request);
        const auto main = Driver->Held(Code);
        // Its own output lies under the response.
        const Bytes output = Filled(300, 0x11);
        if (moment == 0)
            main->Complete(0, output);
        Driver->Chunk(Filled(200, 2));
        if (moment == 1)
            main->Complete(0, output);
        Driver->Chunk(Filled(50, 3));
        if (moment == 2)
            main->Complete(0, output);
        EXPECT_EQ(request.Await(), 0U);
        EXPECT_EQ(request.Out, Filled(200, 2) + Filled(50, 3) + Filled(50, 0x11)) << moment;
    }
}

TEST_F(Async, ReadsThatEndTogetherAreTakenLowestFirstAndSentAgain)
{
    Driver->On(Code, Driver->Hold());
    AsyncRequest request(1, Code, 1100);
    Send(request);
    const auto main = Driver->Held(Code);
    // While the main request is out nobody takes chunks: all five reads end, the last one first.
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

TEST_F(Async, RequestsRunOneAfterTheOtherWithTheCallbackInBetween)
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

TEST_F(Async, WithoutContextOrFunctionThereIsNoCallback)
{
    AsyncRequest noContext(1, Code, 10);
    noContext.Record.NotifyContext = nullptr;
    AsyncRequest noFunction(2, Code, 10);
    noFunction.Record.NotifyFn = nullptr;
    AsyncRequest last(3, Code, 10);
    last.Record.IsAsync = 2;
    for (AsyncRequest* request : {&noContext, &noFunction, &last})
    {
        Send(*request);
        Driver->Chunk(Filled(1, 1));
    }
    EXPECT_EQ(last.Await(), 0U);
    EXPECT_EQ(noContext.Ends + noFunction.Ends, 0);
    EXPECT_EQ(noContext.Out[0], 1) << "served all the same";
}

TEST_F(Async, WhatTheDriverDoesToTheSendAndTheReadsDecidesStatusAndData)
{
    const struct
    {
        const char* Name;
        TestDriver::Answer Main;
        TestDriver::Answer Reads;
        std::uint32_t Status;
    } cases[] = {
        {"main refused", TestDriver::EndWith(5), Driver->Hold(), 1},
        {"main times out", Driver->Hold(), Driver->Hold(), 1},
        {"main refused, reads refused", TestDriver::EndWith(5), TestDriver::EndWith(5), 1},
        {"a read ends at once, empty", TestDriver::EndWith(0), TestDriver::EndWith(0), 0},
    };
    for (const auto& [name, main, reads, status] : cases)
    {
        Driver->On(Code, main);
        Driver->On(TestDriver::WaitRsp, reads);
        AsyncRequest request(1, Code, 8);
        request.Record.Timeout = 20;
        // Reads that were refused were never started: nothing but the silence ends the wait then.
        Send(request);
        EXPECT_EQ(request.Await(), status) << name;
        EXPECT_EQ(request.Out, Filled(8, 0xEE)) << name;
    }
    Machine->FailCall("CreateFileA", 1, 2);
    AsyncRequest request(1, Code, 8);
    Send(request);
    EXPECT_EQ(request.Await(), 1U) << "control device gone";
}

TEST_F(Async, SilenceEndsAResponseWithWhatHasCome)
{
    AsyncRequest request(1, Code, 500);
    Send(request);
    Driver->Chunk(Filled(200, 1));
    Driver->Chunk(Filled(200, 2));
    EXPECT_EQ(request.Await(), 0U);
    EXPECT_EQ(request.Out, Filled(200, 1) + Filled(200, 2) + Filled(100, 0xEE));
}

TEST_F(Async, AFailedReadOrAFailedWaitEndsAResponse)
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
}

TEST_F(Async, ASignalFromOutsideEndsOneCollection)
{
    constexpr WCHAR name[] = {'T', 'e', 'r', 'm', 'i', 'n', 'a', 't', 'e', 'W',
                              'a', 'i', 't', 'E', 'v', 'e', 'n', 't', 0};
    AsyncRequest request(1, Code, 300);
    Driver->On(Code, Driver->Hold());
    Send(request);
    const auto main = Driver->Held(Code);
    Driver->Read()->Complete(0, Filled(200, 1));
    const HANDLE terminate = CreateEventW(nullptr, FALSE, FALSE, name);
    EXPECT_EQ(GetLastError(), 183U) << "the handler has it open";
    main->Complete(0);
    Driver->Chunk(Filled(1, 2)); // Sent again, so the first chunk has been taken.
    EXPECT_EQ(request.Await(), 0U);

    AsyncRequest ended(2, Code, 300);
    Send(ended);
    SetEvent(terminate);
    Driver->Held(Code)->Complete(0);
    EXPECT_EQ(ended.Await(), 0U);
    EXPECT_EQ(ended.Out, Filled(300, 0xEE));
    CloseHandle(terminate);
}

TEST_F(Async, AVanishingDriverEndsTheResponseInMidStream)
{
    Driver->On(Code, Driver->Hold());
    AsyncRequest request(1, Code, 600);
    Send(request);
    Driver->Held(Code)->Complete(0);
    std::vector<TestDriver::RequestPtr> reads(5);
    std::ranges::generate(reads, [&] { return Driver->Read(); });
    reads[0]->Complete(0, Filled(200, 1));
    Driver->Read(); // The sixth: the first chunk has been taken and its read sent again.
    Machine->DetachDevice(std::string(ControlDeviceName) + "{dev}");
    EXPECT_EQ(request.Await(), 0U);
    EXPECT_EQ(request.Out, Filled(200, 1) + Filled(400, 0xEE));
    AsyncRequest late(2, Code, 10);
    Send(late);
    EXPECT_EQ(late.Await(), 1U);
}

TEST_F(Async, CloseAndDestructionWaitForTheRunningRequestAndRunTheQueuedOnes)
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

TEST_F(Async, AfterCloseRequestsAreAcceptedAndNeverRun)
{
    auto record = std::make_shared<_ZV_SRVC_DEVICE_INFO>();
    Device->GetDeviceInfo(record.get());
    Device->Close();
    AsyncRequest request(1, Code, 10);
    EXPECT_EQ(Device->SendIOCTLReq(&request.Record), ZV_SRVC_ERR_DEVICE_NOT_OPEN);
    ASSERT_EQ(Device->Open(record), ZV_SRVC_SUCCESS);
    EXPECT_EQ(Device->SendIOCTLReq(&request.Record), ZV_SRVC_SUCCESS);
    EXPECT_EQ(Device->SendIOCTLReq(&request.Record), ZV_SRVC_ERR_ASYNC_PENDING);
    Device.reset();
    EXPECT_EQ(request.Ends, 0);
}

TEST_F(Async, AHostMayDropItsDeviceInTheCallback)
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

TEST_F(Async, ADriverThatLetsGoLateIsWaitedForBeforeTheCallback)
{
    Driver->HoldCancelled();
    AsyncRequest request(1, Code, 10);
    Send(request);
    Driver->Chunk(Filled(1, 1));
    for (int i = 0; i < 4; ++i)
    {
        const auto cancelled = Driver->Cancelled();
        EXPECT_EQ(request.Ends, 0);
        cancelled->Complete(i % 2 == 0 ? 995 : 0, Filled(200, 9)); // Late output has to find its memory.
    }
    EXPECT_EQ(request.Await(), 0U);
    EXPECT_EQ(request.Out, Filled(1, 1) + Filled(9, 0xEE));
}

TEST_F(Async, AResponseOfSixteenMegabytesArrivesWhole)
{
    constexpr std::size_t size = std::size_t{16} << 20;
    std::atomic<std::uint32_t> at{0};
    // Every read is answered at once; each chunk begins with its number.
    Driver->On(TestDriver::WaitRsp, [&](const TestDriver::RequestPtr& read) {
        const std::uint32_t number = at++;
        Bytes chunk(std::min<std::size_t>(200, size - std::min(size, std::size_t{number} * 200)));
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&number);
        std::copy_n(bytes, std::min(chunk.size(), sizeof number), chunk.begin());
        read->Complete(0, chunk);
    });
    AsyncRequest request(1, Code, size);
    Send(request);
    EXPECT_EQ(request.Await(), 0U);
    for (std::uint32_t expected = 0; expected < size / 200; ++expected)
    {
        std::uint32_t number = 0;
        std::memcpy(&number, request.Out.data() + std::size_t{expected} * 200, sizeof number);
        ASSERT_EQ(number, expected) << "in the order of the driver";
    }
}

TEST_F(Async, FourThreadsOfMixedRequestsOnFourDevices)
{
    std::shared_ptr<CDeviceIntf> devices[4] = {Device};
    std::shared_ptr<TestDriver> drivers[4] = {Driver};
    for (std::size_t i = 1; i < 4; ++i)
    {
        drivers[i] = std::make_shared<TestDriver>();
        AddAdapter("{dev" + std::to_string(i) + "}", drivers[i]);
    }
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

} // namespace
