/// How the chunks of an asynchronous request's response are collected.

#include "AsyncFixture.h"
#include "Platform.h"

#include <algorithm>

namespace
{

TEST_F(Async, CollectsChunksUntilAShortOneAndCutsThemToTheBuffer)
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

TEST_F(Async, TheMainRequestMayCompleteBeforeDuringOrAfterTheResponse)
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

TEST_F(Async, ReadsThatCompleteTogetherAreTakenInOrderAndSentAgain)
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

TEST_F(Async, ATimeOutEndsAResponseWithTheChunksReceived)
{
    AsyncRequest request(1, Code, 500);
    Send(request);
    Driver->Chunk(Filled(200, 1));
    Driver->Chunk(Filled(200, 2));
    EXPECT_EQ(request.Await(), 0U);
    EXPECT_EQ(request.Out, Filled(200, 1) + Filled(200, 2) + Filled(100, 0xEE));
}

TEST_F(Async, AFailedReadOrWaitEndsTheResponse)
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

TEST_F(Async, TheTerminateEventEndsOneResponse)
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

TEST_F(Async, RemovingTheDriverEndsTheResponse)
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

TEST_F(Async, A16MegabyteResponseArrivesComplete)
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

} // namespace
