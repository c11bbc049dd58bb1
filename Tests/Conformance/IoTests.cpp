#include "IoDevice.h"

#include <array>
#include <functional>
#include <future>
#include <thread>
#include <tuple>
#include <vector>

namespace
{

constexpr DWORD AnyError = ERROR_GEN_FAILURE, Pending = ERROR_IO_PENDING, Incomplete = ERROR_IO_INCOMPLETE,
                Aborted = ERROR_OPERATION_ABORTED, Removed = ERROR_DEVICE_REMOVED;

constexpr DWORD Code(std::size_t number)
{
    return 0x222000 + static_cast<DWORD>(number) * 4;
}

/// A caller's request with its memory. Results are 0 for a success, otherwise the error.
struct Call
{
    explicit Call(HANDLE event = nullptr) { Record.hEvent = event; }

    DWORD Send(HANDLE file, std::size_t number = 0, DWORD room = 8)
    {
        return DeviceIoControl(file, Code(number), Input.data(), static_cast<DWORD>(Input.size()), Output.data(), room,
                               &Returned, &Record)
                   ? 0
                   : GetLastError();
    }
    DWORD Result(HANDLE file, BOOL wait = FALSE)
    {
        return GetOverlappedResult(file, &Record, &Transferred, wait) ? 0 : GetLastError();
    }

    std::string Input = "in";
    std::string Output = "########";
    OVERLAPPED Record{};
    DWORD Returned = 77;
    DWORD Transferred = 99;
};

HANDLE MakeEvent(BOOL manual, BOOL set = FALSE)
{
    return CreateEventW(nullptr, manual, set, nullptr);
}

class IoTest : public testing::Test
{
protected:
    HANDLE Open(DWORD flags = FILE_FLAG_OVERLAPPED) const
    {
        return CreateFileA(Device.Path(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, flags, nullptr);
    }

    IoDevice Device;
};

/// What a caller sees: the call's error and byte count (77: untouched), a wait for the event,
/// the result's error and byte count (99: untouched), and the memory.
using View = std::tuple<DWORD, DWORD, DWORD, DWORD, DWORD, std::string>;

TEST_F(IoTest, CallerReceivesStatusAndBytesOfACompletion)
{
    const std::tuple<bool, DWORD, const char*, DWORD, View> cases[] = {
        {true, 0, "abc", 8, {0, 3, WAIT_OBJECT_0, 0, 3, "abc#####"}},
        {true, 0, "", 8, {0, 0, WAIT_OBJECT_0, 0, 0, "########"}},
        {true, 0, "abc", 2, {0, 2, WAIT_OBJECT_0, 0, 2, "ab######"}},
        {true, 234, "abc", 2, {234, 2, WAIT_OBJECT_0, 234, 2, "ab######"}},
        {true, AnyError, "", 8, {AnyError, 77, WAIT_TIMEOUT, Incomplete, 99, "########"}},
        {false, 0, "abc", 8, {Pending, 0, WAIT_OBJECT_0, 0, 3, "abc#####"}},
        {false, 234, "abc", 2, {Pending, 0, WAIT_OBJECT_0, 234, 2, "ab######"}},
        {false, Aborted, "", 8, {Pending, 0, WAIT_OBJECT_0, Aborted, 0, "########"}},
        {false, AnyError, "", 8, {Pending, 0, WAIT_OBJECT_0, AnyError, 0, "########"}},
    };
    const Opened file = Open();
    const Opened event = MakeEvent(TRUE, TRUE);
    for (std::size_t i = 0; i < std::size(cases); ++i)
    {
        const auto& [atOnce, error, output, room, expected] = cases[i];
        Call call(event);
        if (atOnce)
            Device.EndAtOnce(Code(i), error, output);
        const DWORD sent = call.Send(file, i, room);
        if (!atOnce)
        {
            EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT) << "reset by the start";
            EXPECT_EQ(call.Result(file), Incomplete);
            EXPECT_TRUE(Device.End(Code(i), error, output));
            EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0);
        }
        EXPECT_EQ((View{sent, call.Returned, WaitForSingleObject(event, 0), call.Result(file), call.Transferred,
                        call.Output}),
                  expected)
            << i;
    }
}

TEST_F(IoTest, DriverReceivesTheInputAndTheOutputSize)
{
    const Opened file = Open();
    Device.Echo(Code(0));
    for (const std::size_t size : {0U, 1U, 8U, 70'000U})
    {
        for (const std::size_t room : {size, size / 2})
        {
            Call call;
            call.Input = std::string(size, 'i');
            call.Output = std::string(size, '#');
            EXPECT_EQ(call.Send(file, 0, static_cast<DWORD>(room)), 0U);
            EXPECT_EQ(room, call.Returned);
            EXPECT_EQ(call.Output, std::string(room, 'i') + std::string(size - room, '#'));
        }
    }
}

TEST_F(IoTest, CancelsByThreadRecordOrHandle)
{
    HANDLE file = nullptr;
    std::vector<Call> calls; // 0 and 1 of this thread on the file, 2 of another thread, 3 on another file
    std::promise<void> leave;
    std::thread sender;
    const auto elsewhere = [](const auto& work) { return std::async(std::launch::async, work).get(); };
    const std::pair<const char*, std::function<BOOL()>> cases[] = {
        {"01", [&] { return CancelIo(file); }},
        {"", [&] { return elsewhere([&] { return CancelIo(file); }); }},
        {"1", [&] { return elsewhere([&] { return CancelIoEx(file, &calls[1].Record); }); }},
        {"", [&] { return !CancelIoEx(file, &calls[3].Record); }},
        {"012", [&] { return CancelIoEx(file, nullptr); }},
        {"012", [&] { return CloseHandle(file); }},
    };
    const Opened first = MakeEvent(TRUE), second = MakeEvent(TRUE), third = MakeEvent(TRUE), fourth = MakeEvent(TRUE);
    for (const auto& [expected, act] : cases)
    {
        file = Open();
        const HANDLE other = Open();
        calls = {Call(first), Call(second), Call(third), Call(fourth)};
        for (const std::size_t i : {0U, 1U, 3U})
            EXPECT_EQ(calls[i].Send(i == 3 ? other : file), Pending);
        std::promise<void> sent;
        leave = {};
        sender = std::thread([&] {
            EXPECT_EQ(calls[2].Send(file), Pending);
            sent.set_value();
            leave.get_future().wait();
        });
        sent.get_future().wait();
        EXPECT_TRUE(act());
        for (std::size_t i = 0; i < calls.size(); ++i)
        {
            const bool isCancelled = std::string(expected).find(static_cast<char>('0' + i)) != std::string::npos;
            EXPECT_EQ(isCancelled ? Aborted : Incomplete, calls[i].Result(file, isCancelled)) << expected << i;
        }
        CloseHandle(file);
        CloseHandle(other);
        for (Call& call : calls)
            EXPECT_EQ(call.Result(other, TRUE), Aborted) << expected;
        leave.set_value();
        sender.join();
    }
}

TEST_F(IoTest, ARequestIsCancelledWhenItsThreadEnds)
{
    const Opened file = Open();
    const Opened event = MakeEvent(TRUE);
    Call call(event);
    std::thread([&] { EXPECT_EQ(call.Send(file), Pending); }).join();
    // Under Wine the result is sometimes not written, so it is not checked.
    EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0);
    EXPECT_FALSE(Device.End(Code(0), 0));
}

TEST_F(IoTest, CancelledRequestCompletesWhenTheDriverCompletesIt)
{
    const Opened file = Open();
    const Opened event = MakeEvent(TRUE);
    Call call(event);
    Device.HoldCancelled(true);
    EXPECT_EQ(call.Send(file), Pending);
    EXPECT_TRUE(CancelIoEx(file, &call.Record));
    EXPECT_EQ(call.Result(file), Incomplete);
    EXPECT_FALSE(Device.End(Code(0), 0)) << "it is not the driver's to end any more";
    Device.HoldCancelled(false);
    EXPECT_EQ(call.Result(file, TRUE), Aborted);
    EXPECT_FAILS_WITH(ERROR_NOT_FOUND, CancelIoEx(file, &call.Record));
    EXPECT_TRUE(CancelIo(file));
}

TEST_F(IoTest, ResultWaitsForTheEventOrTheFile)
{
    const Opened file = Open();
    const Opened event = MakeEvent(FALSE);
    Call call(event);
    call.Send(file, 0);
    SetEvent(event);
    EXPECT_EQ(call.Result(file, TRUE), 0U) << "signalled by another hand: as Windows has it";
    EXPECT_EQ(call.Transferred, 0U);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT) << "consumed";
    Call plain;
    plain.Send(file, 1);
    auto ended = std::async(std::launch::async,
                            [this] { return Device.End(Code(0), AnyError) && Device.End(Code(1), 0, "abc"); });
    EXPECT_EQ(call.Result(nullptr, TRUE), AnyError) << "with an event the file plays no part";
    EXPECT_EQ(plain.Result(file, TRUE), 0U);
    EXPECT_EQ(plain.Output, "abc#####");
    EXPECT_TRUE(ended.get());
    EXPECT_EQ(WaitForSingleObject(file, INFINITE), WAIT_OBJECT_0);
    call.Send(file, 0);
    EXPECT_EQ(WaitForSingleObject(file, 0), WAIT_TIMEOUT) << "any request resets the file";
    CancelIo(file);
    EXPECT_EQ(call.Result(file, TRUE), Aborted);
}

TEST_F(IoTest, AWaitForFiveEventsReturnsTheSignalledIndex)
{
    const Opened file = Open();
    const std::array<HANDLE, 5> events = {MakeEvent(FALSE), MakeEvent(FALSE), MakeEvent(FALSE), MakeEvent(FALSE),
                                          MakeEvent(FALSE)};
    std::vector<Call> calls(events.begin(), events.end());
    for (std::size_t i = 0; Call & call : calls)
        EXPECT_EQ(call.Send(file, i++), Pending);
    const auto await = [&](DWORD milliseconds) {
        return WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(), FALSE, milliseconds);
    };
    for (const std::size_t i : {3U, 0U, 4U, 1U, 2U})
    {
        EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), await(0));
        EXPECT_TRUE(Device.End(Code(i), 0, "x"));
        EXPECT_EQ(await(INFINITE), WAIT_OBJECT_0 + i);
        EXPECT_EQ(calls[i].Result(file), 0U);
    }
    for (const HANDLE event : events)
        CloseHandle(event);
}

TEST_F(IoTest, SynchronousHandleWaits)
{
    const Opened file = Open(0);
    for (const DWORD error : {DWORD{0}, AnyError})
    {
        // It can only be ended once it has been sent.
        const std::jthread ender([this, error] {
            while (!Device.End(Code(0), error, "abc"))
                std::this_thread::yield();
        });
        std::string output = "####";
        DWORD returned = 77;
        const BOOL sent = DeviceIoControl(file, Code(0), nullptr, 0, output.data(), 2, &returned, nullptr);
        EXPECT_EQ(error, sent ? 0 : GetLastError());
        EXPECT_EQ(error == 0 ? "ab##" : "####", output);
        EXPECT_EQ(error == 0 ? 2U : 77U, returned);
    }
}

TEST_F(IoTest, RefusesInvalidRequestsBeforeTheDriverSeesThem)
{
    const HANDLE file = Open();
    OVERLAPPED record{};
    OVERLAPPED badEvent{};
    badEvent.hEvent = file;
    const auto send = [](HANDLE handle, DWORD code, DWORD size, OVERLAPPED* overlapped) {
        return DeviceIoControl(handle, code, nullptr, size, nullptr, 0, nullptr, overlapped);
    };
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, send(nullptr, 0, 0, &record));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, send(file, 0, 0, &badEvent));
    EXPECT_FAILS_WITH(ERROR_ACCESS_DENIED, send(file, 0x8000, 0, &record));
    EXPECT_FAILS_WITH(ERROR_NOACCESS, send(file, 0x4000, 1, &record));
    EXPECT_TRUE(CloseHandle(file));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, CloseHandle(file));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, send(file, 0, 0, &record));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, CancelIo(file));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, CancelIoEx(file, nullptr));
    const auto opens = [](const char* path) {
        return CreateFileA(path, 0, 0, nullptr, OPEN_EXISTING, 0, nullptr) != INVALID_HANDLE_VALUE;
    };
    EXPECT_FAILS_WITH(ERROR_FILE_NOT_FOUND, opens(R"(\\.\ZVIoMissing)"));
    EXPECT_FAILS_WITH(ERROR_FILE_NOT_FOUND, opens("ZVIoMissing"));
    EXPECT_FAILS_WITH(ERROR_PATH_NOT_FOUND, opens(""));
}

TEST_F(IoTest, UnpluggedDeviceIsUnreachable)
{
    const Opened file = Open();
    const Opened event = MakeEvent(TRUE);
    Call call(event);
    EXPECT_EQ(call.Send(file), Pending);
    Device.Unplug();
    EXPECT_EQ(call.Result(file, TRUE), Removed);
    EXPECT_EQ(Call().Send(file), Removed);
    EXPECT_FAILS_WITH(ERROR_FILE_NOT_FOUND, Open() != INVALID_HANDLE_VALUE);
}

} // namespace
