#include "Checks.h"
#include "TestMachine.h"

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

Bytes BytesOf(std::string_view text)
{
    return {text.begin(), text.end()};
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

class IoTest : public testing::Test
{
protected:
    IoTest() { Driver->On(0, Driver->Hold()); }
    ~IoTest() override { EXPECT_EQ(CountOpen(Driver.get()), 0U); }

    HANDLE Open() const
    {
        return CreateFileA(Driver->Path().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                           FILE_FLAG_OVERLAPPED, nullptr);
    }

    TestMachine Machine;
    const std::shared_ptr<TestDriver> Driver = AttachDriver("{io}");
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
            Driver->On(Code(i), TestDriver::EndWith(error, BytesOf(output)));
        const DWORD sent = call.Send(file, i, room);
        if (!atOnce)
        {
            EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT) << "reset by the start";
            EXPECT_EQ(call.Result(file), Incomplete);
            EXPECT_TRUE(Driver->EndHeld(Code(i), error, BytesOf(output)));
            EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0);
        }
        EXPECT_EQ((View{sent, call.Returned, WaitForSingleObject(event, 0), call.Result(file), call.Transferred,
                        call.Output}),
                  expected)
            << i;
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
    EXPECT_FALSE(Driver->EndHeld(Code(0), 0));
}

TEST_F(IoTest, CancelledRequestCompletesWhenTheDriverCompletesIt)
{
    const Opened file = Open();
    const Opened event = MakeEvent(TRUE);
    Call call(event);
    Driver->HoldCancelled(true);
    EXPECT_EQ(call.Send(file), Pending);
    EXPECT_TRUE(CancelIoEx(file, &call.Record));
    EXPECT_EQ(call.Result(file), Incomplete);
    EXPECT_FALSE(Driver->EndHeld(Code(0), 0)) << "it is not the driver's to end any more";
    Driver->HoldCancelled(false);
    EXPECT_EQ(call.Result(file, TRUE), Aborted);
    EXPECT_FAILS_WITH(ERROR_NOT_FOUND, CancelIoEx(file, &call.Record));
    EXPECT_TRUE(CancelIo(file));
}

TEST_F(IoTest, RefusesACodeThatNeedsWriteAccess)
{
    const Opened file = Open();
    OVERLAPPED record{};
    EXPECT_FAILS_WITH(ERROR_ACCESS_DENIED, DeviceIoControl(file, 0x8000, nullptr, 0, nullptr, 0, nullptr, &record));
}

TEST_F(IoTest, UnpluggedDeviceIsUnreachable)
{
    const Opened file = Open();
    const Opened event = MakeEvent(TRUE);
    Call call(event);
    EXPECT_EQ(call.Send(file), Pending);
    Driver->Unplug();
    EXPECT_EQ(call.Result(file, TRUE), Removed);
    EXPECT_EQ(Call().Send(file), Removed);
    EXPECT_FAILS_WITH(ERROR_FILE_NOT_FOUND, Open() != INVALID_HANDLE_VALUE);
}

} // namespace
