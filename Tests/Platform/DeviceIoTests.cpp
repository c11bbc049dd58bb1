#include "Expect.h"

#include <functional>
#include <future>
#include <thread>
#include <tuple>

namespace
{

using RequestPtr = std::shared_ptr<Platform::IoRequest>;

/// Keeps every request, and lets none go when it is to be cancelled, unless a test says otherwise.
struct KeepingDevice : Platform::ControlDevice
{
    std::uint32_t Open(std::uint64_t /*openId*/) override { return OpenError; }
    void Close(std::uint64_t /*openId*/) override { ++Closes; }
    void Start(const RequestPtr& request) override { OnStart ? OnStart(request) : Kept.push_back(request); }
    void Cancel(const RequestPtr& request) override { Cancelled.push_back(request); }
    void Drop() { Kept = Cancelled = {}; } ///< What is dropped has ended.

    std::uint32_t OpenError = 0;
    int Closes = 0;
    std::function<void(const RequestPtr&)> OnStart;
    std::vector<RequestPtr> Kept, Cancelled;
};

std::span<const std::uint8_t> BytesOf(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// A caller's request with its memory. Results are 0 for a success, otherwise the error.
struct Call
{
    explicit Call(HANDLE event = nullptr, char input = 'i') : Input(input) { Record.hEvent = event; }

    DWORD Send(HANDLE file, DWORD room = 8)
    {
        return DeviceIoControl(file, 0x122414, &Input, 1, Output.data(), room, &Returned, &Record) ? 0 : GetLastError();
    }
    DWORD Result(HANDLE file, BOOL wait = FALSE)
    {
        return GetOverlappedResult(file, &Record, &Transferred, wait) ? 0 : GetLastError();
    }

    char Input;
    std::string Output = "########";
    OVERLAPPED Record{0, 55, 0, 0, nullptr};
    DWORD Returned = 77;
    DWORD Transferred = 99;
};

class DeviceIoTest : public OnMachine
{
protected:
    DeviceIoTest() { Box->AttachDevice("Zv_Device{1}", Driver); }

    static HANDLE Open(const char* path = R"(\\.\Zv_Device{1})", DWORD flags = FILE_FLAG_OVERLAPPED)
    {
        return CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, flags, nullptr);
    }
    static std::size_t InFlight() { return Platform::CountOpenObjects().RequestsInFlight; }

    std::shared_ptr<KeepingDevice> Driver = std::make_shared<KeepingDevice>();
};

constexpr DWORD AnyError = ERROR_GEN_FAILURE, Pending = ERROR_IO_PENDING, Incomplete = ERROR_IO_INCOMPLETE,
                Aborted = ERROR_OPERATION_ABORTED, Removed = ERROR_DEVICE_REMOVED;

/// What a caller sees: the call's error and byte count (77: untouched, 55: what the record held), a wait for the event,
/// the result's error and byte count (99: untouched), and the memory.
using View = std::tuple<DWORD, DWORD, DWORD, DWORD, DWORD, std::string>;

TEST_F(DeviceIoTest, CallerSeesTheEnd)
{
    const std::tuple<bool, DWORD, const char*, DWORD, View> cases[] = {
        {true, 0, "abc", 8, {0, 3, WAIT_OBJECT_0, 0, 3, "abc#####"}},
        {true, 0, "", 8, {0, 0, WAIT_OBJECT_0, 0, 0, "########"}},
        {true, 0, "abc", 2, {0, 2, WAIT_OBJECT_0, 0, 2, "ab######"}},
        {true, 234, "abc", 2, {234, 2, WAIT_OBJECT_0, 234, 2, "ab######"}},
        {true, AnyError, "abc", 8, {AnyError, 77, WAIT_TIMEOUT, Incomplete, 99, "########"}},
        {false, 0, "abc", 8, {Pending, 55, WAIT_OBJECT_0, 0, 3, "abc#####"}},
        {false, 234, "abc", 2, {Pending, 55, WAIT_OBJECT_0, 234, 2, "ab######"}},
        {false, Aborted, "abc", 8, {Pending, 55, WAIT_OBJECT_0, Aborted, 0, "########"}},
        {false, 0xE0000209, "", 8, {Pending, 55, WAIT_OBJECT_0, 0xE0000209, 0, "########"}},
    };
    const Opened file = Open();
    const Opened event = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    for (const auto& [atOnce, error, output, room, expected] : cases)
    {
        Call call(event);
        const auto end = [code = error, bytes = BytesOf(output), size = room](const RequestPtr& request) {
            EXPECT_EQ(size, request->OutputRoom());
            EXPECT_EQ('i', request->Input()[0]);
            EXPECT_TRUE(request->Complete(code, bytes));
            EXPECT_FALSE(request->Complete(0, BytesOf("XX"))) << "the first end counts";
        };
        Driver->OnStart = atOnce ? std::function(end) : nullptr;
        const DWORD sent = call.Send(file, room);
        if (!atOnce)
        {
            EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(event, 0)) << "reset by the start";
            EXPECT_EQ(Incomplete, call.Result(file));
            EXPECT_EQ(3U, Platform::CountOpenObjects().Total()) << "the file, the event and the request";
            call.Input = 'x'; // the driver has its own copy
            end(Driver->Kept.back());
        }
        EXPECT_EQ(expected, (View{sent, call.Returned, WaitForSingleObject(event, 0), call.Result(file),
                                  call.Transferred, call.Output}));
        EXPECT_EQ(0U, InFlight());
    }
}

TEST_F(DeviceIoTest, CancelsThoseOfTheThreadTheRecordOrTheHandle)
{
    HANDLE file = nullptr;
    std::vector<Call> calls; // 0 and 1 of this thread on the file, 2 of another thread, 3 on another file
    std::promise<void> leave;
    std::jthread sender;
    const auto elsewhere = [](const auto& work) { return std::async(std::launch::async, work).get(); };
    const std::pair<const char*, std::function<BOOL()>> cases[] = {
        {"01", [&] { return CancelIo(file); }},
        {"", [&] { return elsewhere([&] { return CancelIo(file); }); }},
        {"1", [&] { return elsewhere([&] { return CancelIoEx(file, &calls[1].Record); }); }},
        {"", [&] { return !CancelIoEx(file, &calls[3].Record); }},
        {"012", [&] { return CancelIoEx(file, nullptr) && CancelIoEx(file, nullptr); }},
        {"2", [&] { return leave.set_value(), sender.join(), TRUE; }},
        {"012", [&] { return CloseHandle(file); }},
    };
    for (const auto& [expected, act] : cases)
    {
        file = Open();
        const HANDLE other = Open();
        calls = {Call(nullptr, '0'), Call(nullptr, '1'), Call(nullptr, '2'), Call(nullptr, '3')};
        for (const std::size_t i : {0U, 1U, 3U})
            EXPECT_EQ(Pending, calls[i].Send(i == 3 ? other : file));
        std::promise<void> sent;
        leave = {};
        sender = std::jthread([&] {
            EXPECT_EQ(Pending, calls[2].Send(file));
            sent.set_value();
            leave.get_future().wait();
        });
        sent.get_future().wait();
        EXPECT_TRUE(act());
        std::string cancelled;
        for (const RequestPtr& request : Driver->Cancelled)
            cancelled += static_cast<char>(request->IsCancelRequested() ? request->Input()[0] : '?');
        EXPECT_EQ(expected, cancelled);
        EXPECT_EQ(4U, InFlight()) << "the driver has not let go";
        CloseHandle(file);
        CloseHandle(other);
        EXPECT_EQ(0, Driver->Closes);
        for (const RequestPtr& request : Driver->Kept)
        {
            Call& call = calls[request->Input()[0] - std::size_t{'0'}];
            EXPECT_EQ(Incomplete, call.Result(file));
            request->Complete(Aborted);
            EXPECT_EQ(Aborted, call.Result(file));
        }
        EXPECT_EQ(2, std::exchange(Driver->Closes, 0)) << "closed behind the last end";
        Driver->Drop();
        if (sender.joinable())
            leave.set_value();
        sender = {};
    }
}

TEST_F(DeviceIoTest, CancelDuringStartComesBehindIt)
{
    const Opened file = Open();
    Call call;
    Driver->OnStart = [&](const RequestPtr& request) {
        EXPECT_TRUE(CancelIoEx(file, &call.Record));
        EXPECT_TRUE(request->IsCancelRequested());
        EXPECT_TRUE(Driver->Cancelled.empty());
        Driver->Kept.push_back(request);
    };
    EXPECT_EQ(Pending, call.Send(file));
    EXPECT_EQ(Driver->Kept, Driver->Cancelled);
    Driver->Drop();
    EXPECT_EQ(Aborted, call.Result(file));
    EXPECT_FAILS_WITH(ERROR_NOT_FOUND, CancelIoEx(file, nullptr));
    EXPECT_TRUE(CancelIo(file));
}

TEST_F(DeviceIoTest, ResultWaitsForTheEventOrTheFile)
{
    const Opened file = Open();
    const Opened event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    Call call(event);
    call.Send(file);
    SetEvent(event);
    EXPECT_EQ(0U, call.Result(file, TRUE)) << "signalled by another hand: as Windows has it";
    EXPECT_EQ(55U, call.Transferred);
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(event, 0)) << "consumed";
    Call plain;
    plain.Send(file);
    const std::jthread ender([kept = Driver->Kept] {
        kept[0]->Complete(AnyError, BytesOf("abc"));
        kept[1]->Complete(0, BytesOf("abc"));
    });
    EXPECT_EQ(AnyError, call.Result(nullptr, TRUE)) << "with an event the file plays no part";
    EXPECT_EQ(0U, plain.Result(file, TRUE));
    EXPECT_EQ("abc#####", plain.Output);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(file, INFINITE));
    call.Send(file);
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(file, 0)) << "any request resets the file";
    Driver->Drop();
}

TEST_F(DeviceIoTest, PlainHandleWaits)
{
    const Opened file = Open(R"(\\.\ZV_dEVICE{1})", 0);
    std::jthread ender;
    DWORD error = 0;
    Driver->OnStart = [&](const RequestPtr& request) {
        ender = std::jthread([request, error] { request->Complete(error, BytesOf("abc")); });
    };
    char output[] = "####";
    DWORD returned = 77;
    EXPECT_TRUE(DeviceIoControl(file, 1, nullptr, 0, output, 2, &returned, nullptr));
    EXPECT_EQ(2U, returned);
    EXPECT_STREQ("ab##", output);
    error = AnyError;
    EXPECT_FAILS_WITH(AnyError, DeviceIoControl(file, 1, nullptr, 0, output, 2, &returned, nullptr));
    OVERLAPPED record{};
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, DeviceIoControl(file, 1, nullptr, 0, nullptr, 0, &returned, &record));
}

TEST_F(DeviceIoTest, RefusesBeforeTheDriverSeesIt)
{
    const HANDLE file = Open();
    OVERLAPPED record{};
    OVERLAPPED badEvent{0, 0, 0, 0, file};
    const auto send = [](HANDLE handle, DWORD code, DWORD size, OVERLAPPED* overlapped) {
        return DeviceIoControl(handle, code, nullptr, size, nullptr, 0, nullptr, overlapped);
    };
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, send(nullptr, 0, 0, &record));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, send(file, 0, 0, &badEvent));
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, send(file, 0, 0, nullptr));
    EXPECT_FAILS_WITH(ERROR_ACCESS_DENIED, send(file, 0x8000, 0, &record));
    EXPECT_FAILS_WITH(ERROR_NOACCESS, send(file, 0x4000, 1, &record));
    EXPECT_TRUE(Driver->Kept.empty());
    EXPECT_TRUE(CloseHandle(file));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, CloseHandle(file));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, CancelIo(file));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, CancelIoEx(file, nullptr));
    const auto opens = [](const char* path, DWORD disposition) {
        return CreateFileA(path, 0, 0, nullptr, disposition, 0, nullptr) != INVALID_HANDLE_VALUE;
    };
    Driver->OpenError = AnyError;
    EXPECT_FAILS_WITH(AnyError, opens(R"(\\.\Zv_Device{1})", OPEN_EXISTING));
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, opens(R"(\\.\Zv_Device{1})", 2));
    EXPECT_FAILS_WITH(ERROR_FILE_NOT_FOUND, opens(R"(\\.\Zv_Device{2})", OPEN_EXISTING));
    EXPECT_FAILS_WITH(ERROR_FILE_NOT_FOUND, opens("Zv_Device{1}", OPEN_EXISTING));
    EXPECT_FAILS_WITH(ERROR_PATH_NOT_FOUND, opens("", OPEN_EXISTING));
    EXPECT_EQ(1, Driver->Closes) << "what was not opened is not closed";
    EXPECT_THROW(Box->AttachDevice("ZV_DEVICE{1}", Driver), std::invalid_argument);
}

TEST_F(DeviceIoTest, DeviceVanishesWithItsNameOrItsAdapter)
{
    const auto id = Box->AddAdapter({.ControlDeviceName = "ZV_device{1}"});
    const auto setPresent = [&](bool present) {
        Box->ChangeAdapter(id, [=](Platform::AdapterDescription& adapter) { adapter.Present = present; });
    };
    const std::pair<std::function<void()>, std::function<void()>> outAndBack[] = {
        {[&] { setPresent(false); }, [&] { setPresent(true); }},
        {[&] { Box->DetachDevice("zv_device{1}"); }, [&] { Box->AttachDevice("Zv_Device{1}", Driver); }},
        {[&] { Box->RemoveAdapter(id); }, [&] { Box->AddAdapter({.ControlDeviceName = "Zv_Device{1}"}); }},
    };
    for (const auto& [out, back] : outAndBack)
    {
        const Opened file = Open();
        Call call;
        EXPECT_EQ(Pending, call.Send(file));
        out();
        EXPECT_EQ(1U, Driver->Cancelled.size());
        EXPECT_EQ(INVALID_HANDLE_VALUE, Open());
        EXPECT_EQ(nullptr, Box->Device("Zv_Device{1}"));
        EXPECT_EQ(Incomplete, call.Result(file));
        EXPECT_EQ(Removed, Call().Send(file));
        Driver->Kept[0]->Complete(Removed);
        EXPECT_EQ(Removed, call.Result(file));
        back();
        EXPECT_EQ(Driver, Box->Device("ZV_DEVICE{1}"));
        EXPECT_EQ(Removed, Call().Send(file)) << "the handle is not on the new device";
        Driver->Drop();
    }
    EXPECT_EQ(3, Driver->Closes);
}

} // namespace
