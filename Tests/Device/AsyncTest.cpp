/// How the chunks of an asynchronous request's response are collected, on the stand-in and on Windows.

#include "AsyncFixture.h"
#include "OSPlatform.h"

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

TEST_F(Async, ATimeOutEndsAResponseWithTheChunksReceived)
{
    AsyncRequest request(1, Code, 500);
    Send(request);
    Driver->Chunk(Filled(200, 1));
    Driver->Chunk(Filled(200, 2));
    EXPECT_EQ(request.Await(), 0U);
    EXPECT_EQ(request.Out, Filled(200, 1) + Filled(200, 2) + Filled(100, 0xEE));
}

TEST_F(Async, TheTerminateEventEndsOneResponse)
{
    AsyncRequest request(1, Code, 300);
    Driver->On(Code, Driver->Hold());
    Send(request);
    Driver->AwaitHeld(6); // Five reads and the request, so the handler has opened the event.
    Driver->Read()->Complete(0, Filled(200, 1));
    const HANDLE terminate = CreateEventW(nullptr, FALSE, FALSE, CWideText{"TerminateWaitEvent"}.Text);
    EXPECT_EQ(GetLastError(), 183U) << "the handler has it open";
    Driver->Held(Code)->Complete(0);
    Driver->Chunk(Filled(1, 2));
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
    Driver->AwaitHeld(5);
    Driver->Chunk(Filled(200, 1));
    Driver->AwaitHeld(5); // The first chunk has been taken and its read sent again.
    Driver->Unplug();
    EXPECT_EQ(request.Await(), 0U);
    EXPECT_EQ(request.Out, Filled(200, 1) + Filled(400, 0xEE));
    AsyncRequest late(2, Code, 10);
    Send(late);
    EXPECT_EQ(late.Await(), 1U);
}

TEST_F(Async, AResponseThatTheDriverSendsAtOnceArrivesCompleteAndInOrder)
{
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{1000}, TestDriver::MostResponse})
    {
        // Each four bytes are their own offset.
        Bytes response(size);
        for (std::size_t i = 0; i < size; ++i)
            response[i] = static_cast<std::uint8_t>((i & ~std::size_t{3}) >> (8 * (i % 4)));
        Driver->Respond(Code, response);
        AsyncRequest request(1, Code, size + 10);
        Send(request);
        EXPECT_EQ(request.Await(), 0U);
        EXPECT_TRUE(request.Out == response + Filled(10, 0xEE)) << size;
    }
}

TEST_F(Async, SendAndReadResultsDetermineStatusAndData)
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
}

} // namespace
