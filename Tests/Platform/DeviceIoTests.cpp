#include "Expect.h"

#include <algorithm>
#include <array>
#include <functional>
#include <future>
#include <thread>

namespace
{

using RequestPtr = std::shared_ptr<Platform::IoRequest>;

/// Keeps every request, and lets none go when it is to be cancelled, unless a test says otherwise.
struct ScriptedDevice : Platform::ControlDevice
{
    std::uint32_t Open(std::uint64_t /*openId*/) override { return OpenError; }
    void Close(std::uint64_t /*openId*/) override { ++Closes; }
    void Start(const RequestPtr& request) override { OnStart ? OnStart(request) : Kept.push_back(request); }
    void Cancel(const RequestPtr& request) override { Cancelled.push_back(request); }
    /// What is dropped has ended.
    void Drop()
    {
        Kept.clear();
        Cancelled.clear();
    }

    std::uint32_t OpenError = 0;
    int Closes = 0;
    std::function<void(const RequestPtr&)> OnStart;
    std::vector<RequestPtr> Kept;
    std::vector<RequestPtr> Cancelled;
};

std::span<const std::uint8_t> BytesOf(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// A caller's request with its memory. Results are 0 for a success, otherwise the error.
struct Call
{
    explicit Call(HANDLE event = nullptr) { Record.hEvent = event; }

    DWORD Send(HANDLE file, DWORD room = 8)
    {
        const BOOL sent =
            DeviceIoControl(file, 0x122414, &Input, sizeof(Input), Output.data(), room, &Returned, &Record);
        return sent ? 0 : GetLastError();
    }
    DWORD Result(HANDLE file, BOOL wait = FALSE)
    {
        return GetOverlappedResult(file, &Record, &Transferred, wait) ? 0 : GetLastError();
    }

    char Input = 'i';
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

    std::shared_ptr<ScriptedDevice> Driver = std::make_shared<ScriptedDevice>();
};

constexpr DWORD AnyError = ERROR_GEN_FAILURE;
constexpr DWORD Pending = ERROR_IO_PENDING;
constexpr DWORD Incomplete = ERROR_IO_INCOMPLETE;
constexpr DWORD Aborted = ERROR_OPERATION_ABORTED;
constexpr DWORD Removed = ERROR_DEVICE_REMOVED;

struct EndCase
{
    const char* Name;
    bool Inline; ///< Before Start returns.
    DWORD Error;
    const char* Output;
    DWORD Room;
    DWORD CallError;
    DWORD Returned; ///< 77: untouched, 55: what the record held.
    DWORD Event;    ///< Of a wait for it.
    DWORD Result;
    DWORD Bytes; ///< 99: untouched.
    const char* Memory;
};

const EndCase EndCases[] = {
    {"inline", true, 0, "abc", 8, 0, 3, WAIT_OBJECT_0, 0, 3, "abc#####"},
    {"inline without output", true, 0, "", 8, 0, 0, WAIT_OBJECT_0, 0, 0, "########"},
    {"inline, cut", true, 0, "abc", 2, 0, 2, WAIT_OBJECT_0, 0, 2, "ab######"},
    {"inline, more data", true, 234, "abc", 2, 234, 2, WAIT_OBJECT_0, 234, 2, "ab######"},
    {"refused", true, AnyError, "abc", 8, AnyError, 77, WAIT_TIMEOUT, Incomplete, 99, "########"},
    {"cancelled at once", true, 995, "", 8, 995, 77, WAIT_TIMEOUT, Incomplete, 99, "########"},
    {"late", false, 0, "abc", 8, 997, 55, WAIT_OBJECT_0, 0, 3, "abc#####"},
    {"late, no room", false, 0, "abc", 0, 997, 55, WAIT_OBJECT_0, 0, 0, "########"},
    {"late, more data", false, 234, "abc", 2, 997, 55, WAIT_OBJECT_0, 234, 2, "ab######"},
    {"late error", false, AnyError, "abc", 8, 997, 55, WAIT_OBJECT_0, AnyError, 0, "########"},
    {"late cancellation", false, 995, "abc", 8, 997, 55, WAIT_OBJECT_0, 995, 0, "########"},
    {"late large error", false, 0xE0000209, "", 8, 997, 55, WAIT_OBJECT_0, 0xE0000209, 0, "########"},
};

TEST_F(DeviceIoTest, CallerSeesTheEnd)
{
    const HANDLE file = Open();
    const HANDLE event = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    for (const EndCase& c : EndCases)
    {
        SCOPED_TRACE(c.Name);
        Call call(event);
        const auto end = [&](const RequestPtr& request) {
            EXPECT_EQ(c.Room, request->OutputRoom());
            EXPECT_EQ('i', request->Input()[0]);
            EXPECT_TRUE(request->Complete(c.Error, BytesOf(c.Output)));
            EXPECT_FALSE(request->Complete(0, BytesOf("XX"))) << "the first end counts";
        };
        Driver->OnStart = c.Inline ? std::function(end) : nullptr;
        EXPECT_EQ(c.CallError, call.Send(file, c.Room));
        EXPECT_EQ(c.Returned, call.Returned);
        if (!c.Inline)
        {
            EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(event, 0)) << "reset by the start";
            EXPECT_EQ(Incomplete, call.Result(file));
            EXPECT_EQ(1U, Platform::CountOpenObjects().RequestsInFlight);
            call.Input = 'x'; // the driver has its own copy
            end(Driver->Kept.back());
        }
        EXPECT_EQ(c.Event, WaitForSingleObject(event, 0));
        EXPECT_EQ(c.Result, call.Result(file));
        EXPECT_EQ(c.Bytes, call.Transferred);
        EXPECT_EQ(c.Memory, call.Output);
        EXPECT_EQ(0U, Platform::CountOpenObjects().RequestsInFlight);
    }
    EXPECT_TRUE(CloseHandle(event));
    EXPECT_TRUE(CloseHandle(file));
    EXPECT_EQ(1, Driver->Closes);
}

/// Requests 0 and 1 of this thread on a file, 2 of another thread on it, 3 of this one on another file.
struct CancelScene
{
    CancelScene(HANDLE file, HANDLE other) : File(file)
    {
        for (std::size_t i = 0; i < Calls.size(); ++i)
        {
            Calls[i].Input = static_cast<char>('0' + i);
        }
        EXPECT_EQ(Pending, Calls[0].Send(file));
        EXPECT_EQ(Pending, Calls[1].Send(file));
        EXPECT_EQ(Pending, Calls[3].Send(other));
        std::promise<void> sent;
        Sender = std::jthread([&] {
            EXPECT_EQ(Pending, Calls[2].Send(file));
            sent.set_value();
            Leave.get_future().wait();
        });
        sent.get_future().wait();
    }

    const HANDLE File;
    std::array<Call, 4> Calls;
    std::promise<void> Leave;
    std::jthread Sender;
};

BOOL Elsewhere(const std::function<BOOL()>& work)
{
    return std::async(std::launch::async, work).get();
}

TEST_F(DeviceIoTest, CancelsThoseOfTheThreadTheRecordOrTheHandle)
{
    const struct
    {
        const char* Name;
        const char* Cancelled;
        std::function<BOOL(CancelScene&)> Act;
    } cases[] = {
        {"CancelIo", "01", [](auto& s) { return CancelIo(s.File); }},
        {"CancelIo elsewhere", "", [](auto& s) { return Elsewhere([&] { return CancelIo(s.File); }); }},
        {"one", "1", [](auto& s) { return CancelIoEx(s.File, &s.Calls[1].Record); }},
        {"one elsewhere", "1",
         [](auto& s) { return Elsewhere([&] { return CancelIoEx(s.File, &s.Calls[1].Record); }); }},
        {"one of another file", "", [](auto& s) { return !CancelIoEx(s.File, &s.Calls[3].Record); }},
        {"all, twice", "012", [](auto& s) { return CancelIoEx(s.File, nullptr) && CancelIoEx(s.File, nullptr); }},
        {"end of the thread", "2", [](auto& s) { return s.Leave.set_value(), s.Sender.join(), TRUE; }},
        {"close", "012", [](auto& s) { return CloseHandle(s.File); }},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.Name);
        const HANDLE file = Open();
        const HANDLE other = Open();
        CancelScene scene(file, other);
        EXPECT_TRUE(c.Act(scene));
        std::string cancelled;
        for (const RequestPtr& request : Driver->Cancelled)
        {
            EXPECT_TRUE(request->IsCancelRequested());
            cancelled += static_cast<char>(request->Input()[0]);
        }
        EXPECT_EQ(c.Cancelled, cancelled);
        EXPECT_EQ(4U, Platform::CountOpenObjects().RequestsInFlight) << "the driver has not let go";
        CloseHandle(file);
        CloseHandle(other);
        EXPECT_EQ(0, Driver->Closes);
        for (const RequestPtr& request : Driver->Kept)
        {
            Call& call = scene.Calls[request->Input()[0] - std::size_t{'0'}];
            EXPECT_EQ(Incomplete, call.Result(file));
            request->Complete(Aborted);
            EXPECT_EQ(Aborted, call.Result(file));
        }
        EXPECT_EQ(2, std::exchange(Driver->Closes, 0)) << "closed behind the last end";
        Driver->Drop();
        if (scene.Sender.joinable())
        {
            scene.Leave.set_value();
        }
    }
}

TEST_F(DeviceIoTest, CancelDuringStartComesBehindIt)
{
    const HANDLE file = Open();
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
    EXPECT_TRUE(CloseHandle(file));
}

TEST_F(DeviceIoTest, ResultWaitsForTheEventOrTheFile)
{
    const HANDLE file = Open();
    const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    Call call(event);
    call.Send(file);
    SetEvent(event);
    EXPECT_EQ(0U, call.Result(file, TRUE)) << "signalled by another hand: as Windows has it";
    EXPECT_EQ(55U, call.Transferred);
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(event, 0)) << "consumed";
    Call plain;
    plain.Send(file);
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(file, 0));
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
    EXPECT_TRUE(CloseHandle(event));
    EXPECT_TRUE(CloseHandle(file));
}

TEST_F(DeviceIoTest, PlainHandleWaits)
{
    const HANDLE file = Open(R"(\\.\zv_device{1})", 0);
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
    EXPECT_TRUE(CloseHandle(file));
}

TEST_F(DeviceIoTest, OpensByNameInAnyCase)
{
    EXPECT_TRUE(CloseHandle(Open(R"(\\.\ZV_dEVICE{1})")));
    EXPECT_EQ(INVALID_HANDLE_VALUE, CreateFileA(R"(\\.\Zv_Device{1})", 0, 0, nullptr, 2, 0, nullptr));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
    EXPECT_EQ(1, Driver->Closes);
    EXPECT_THROW(Box->AttachDevice("ZV_DEVICE{1}", Driver), std::invalid_argument);
    Driver->OpenError = AnyError;
    const std::pair<const char*, DWORD> bad[] = {{R"(\\.\Zv_Device{1})", AnyError},
                                                 {R"(\\.\Zv_Device{2})", ERROR_FILE_NOT_FOUND},
                                                 {"Zv_Device{1}", ERROR_FILE_NOT_FOUND},
                                                 {"", ERROR_PATH_NOT_FOUND}};
    for (const auto& [path, expected] : bad)
    {
        EXPECT_EQ(INVALID_HANDLE_VALUE, Open(path));
        EXPECT_EQ(expected, GetLastError()) << path;
    }
    EXPECT_EQ(1, Driver->Closes) << "what was not opened is not closed";
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
}

TEST_F(DeviceIoTest, DeviceVanishesWithItsNameOrItsAdapter)
{
    const auto id = Box->AddAdapter({.ControlDeviceName = "ZV_device{1}"});
    const auto setPresent = [&](bool present) {
        Box->ChangeAdapter(id, [=](Platform::AdapterDescription& adapter) { adapter.Present = present; });
    };
    const struct
    {
        std::function<void()> Out;
        std::function<void()> Back;
    } cases[] = {
        {[&] { setPresent(false); }, [&] { setPresent(true); }},
        {[&] { Box->DetachDevice("zv_device{1}"); }, [&] { Box->AttachDevice("Zv_Device{1}", Driver); }},
        {[&] { Box->RemoveAdapter(id); }, [&] { Box->AddAdapter({.ControlDeviceName = "Zv_Device{1}"}); }},
    };
    for (const auto& c : cases)
    {
        const HANDLE file = Open();
        Call call;
        EXPECT_EQ(Pending, call.Send(file));
        c.Out();
        EXPECT_EQ(1U, Driver->Cancelled.size());
        EXPECT_EQ(INVALID_HANDLE_VALUE, Open());
        EXPECT_EQ(nullptr, Box->Device("Zv_Device{1}"));
        Call late;
        EXPECT_EQ(Removed, late.Send(file));
        EXPECT_EQ(77U, late.Returned);
        EXPECT_EQ(Incomplete, call.Result(file));
        Driver->Kept[0]->Complete(Removed);
        EXPECT_EQ(Removed, call.Result(file));
        c.Back();
        EXPECT_EQ(Driver, Box->Device("ZV_DEVICE{1}"));
        EXPECT_EQ(Removed, late.Send(file)) << "the handle is not on the new device";
        EXPECT_TRUE(CloseHandle(file));
        EXPECT_EQ(1, std::exchange(Driver->Closes, 0));
        Driver->Drop();
    }
}

} // namespace
