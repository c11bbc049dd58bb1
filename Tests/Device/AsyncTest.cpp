/// How the chunks of an asynchronous request's response are collected.

#include "AsyncFixture.h"
#include "Platform.h"

#include <algorithm>

namespace
{

TEST_F(Async, ChunksAreCollectedUntilAShortOneOrSilenceAndCutToTheHostsRoom)
{
    const std::tuple<std::size_t, std::vector<std::size_t>, std::size_t> cases[] = {
        {450, {200, 200, 50}, 450}, {500, {200, 200, 50}, 450}, {100, {200, 200, 50}, 100},
        {0, {200, 50}, 0},          {400, {200, 200, 0}, 400},  {10, {0}, 0},
        {200, {199}, 199},          {500, {200, 200}, 400},
    };
    std::uint16_t id = 0;
    for (const auto& [room, chunks, delivered] : cases)
    {
        AsyncRequest request(id++, Code, room);
        Send(request);
        Bytes response;
        for (const std::size_t size : chunks)
        {
            const Bytes chunk = Filled(size, static_cast<std::uint8_t>(response.size() + 1));
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
        for (int i = 0; i < 3; ++i)
        {
            if (i > 0)
                Driver->Chunk(i == 1 ? Filled(200, 2) : Filled(50, 3));
            if (i == moment)
                main->Complete(0, Filled(300, 0x11)); // Its own output lies under the response.
        }
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
    for (std::size_t i = 0; i < 1100; ++i)
        ASSERT_EQ(request.Out[i], i < 1000 ? i / 200 : 9) << i;
}

TEST_F(Async, AFailedReadOrAFailedWaitEndsAResponse)
{
    for (const std::string failure : {"", "WaitForMultipleObjects", "GetOverlappedResult"})
    {
        AsyncRequest request(1, Code, 300);
        Driver->On(Code, Driver->Hold());
        Send(request);
        const auto main = Driver->Held(Code);
        Driver->Read()->Complete(0, Filled(200, 1));
        if (failure.empty())
            Driver->Read()->Complete(1617);
        else
            Machine->FailCall(failure, 1, 6);
        main->Complete(0);
        EXPECT_EQ(request.Await(), 0U) << failure;
        EXPECT_EQ(request.Out, Filled(200, failure.empty() ? 1 : 0xEE) + Filled(100, 0xEE)) << failure;
        Machine->ClearFaults();
    }
}

TEST_F(Async, ASignalFromOutsideEndsOneCollection)
{
    AsyncRequest request(1, Code, 300);
    Driver->On(Code, Driver->Hold());
    Send(request);
    const auto main = Driver->Held(Code);
    const HANDLE terminate = CreateEventW(nullptr, FALSE, FALSE, u"TerminateWaitEvent");
    EXPECT_EQ(GetLastError(), 183U) << "the handler has it open";
    SetEvent(terminate);
    main->Complete(0);
    EXPECT_EQ(request.Await(), 0U);
    EXPECT_EQ(request.Out, Filled(300, 0xEE));
    EXPECT_EQ(WaitForSingleObject(terminate, 0), 258U) << "taken, so that the next collection goes on";
    CloseHandle(terminate);
}

TEST_F(Async, AVanishingDriverEndsTheResponseInMidStream)
{
    Driver->On(Code, Driver->Hold());
    AsyncRequest request(1, Code, 600);
    Send(request);
    Driver->Held(Code)->Complete(0);
    Driver->Read()->Complete(0, Filled(200, 1));
    for (int i = 0; i < 5; ++i)
        Driver->Read(); // The last is the sixth: the first chunk has been taken and its read sent again.
    Machine->DetachDevice(std::string(ControlDeviceName) + "{dev}");
    EXPECT_EQ(request.Await(), 0U);
    EXPECT_EQ(request.Out, Filled(200, 1) + Filled(400, 0xEE));
    AsyncRequest late(2, Code, 10);
    Send(late);
    EXPECT_EQ(late.Await(), 1U);
}

TEST_F(Async, AResponseOfSixteenMegabytesArrivesWhole)
{
    constexpr std::size_t size = std::size_t{16} << 20;
    std::atomic<std::size_t> at{0};
    // Every read is answered at once; each chunk is made of its number.
    Driver->On(TestDriver::WaitRsp, [&](const TestDriver::RequestPtr& read) {
        const std::size_t number = at++;
        const std::size_t left = size - std::min(size, number * 200);
        read->Complete(0, Filled(std::min<std::size_t>(200, left), static_cast<std::uint8_t>(number % 251)));
    });
    AsyncRequest request(1, Code, size);
    Send(request);
    EXPECT_EQ(request.Await(), 0U);
    for (std::size_t i = 0; i < size; i += 100)
        ASSERT_EQ(request.Out[i], i / 200 % 251) << "in the order of the driver";
}

} // namespace
