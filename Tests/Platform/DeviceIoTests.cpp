#include "Expect.h"
#include "ScriptedDevice.h"

#include <functional>
#include <future>
#include <thread>

namespace
{

using RequestPtr = std::shared_ptr<Platform::IoRequest>;

/// Keeps every request, and lets none go when it is to be cancelled, unless a test says otherwise.
struct KeepingDevice : Platform::ControlDevice
{
    std::uint32_t Open(std::uint64_t /*openId*/) override { return 0; }
    void Close(std::uint64_t /*openId*/) override { ++Closes; }
    void Start(const RequestPtr& request) override { OnStart ? OnStart(request) : Kept.push_back(request); }
    void Cancel(const RequestPtr& request) override { Cancelled.push_back(request); }
    void Drop() { Kept = Cancelled = {}; } ///< What is dropped has ended.

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
    explicit Call(char input = 'i') : Input(input) {}

    DWORD Send(HANDLE file)
    {
        return DeviceIoControl(file, 0x122414, &Input, 1, Output.data(), 8, &Returned, &Record) ? 0 : GetLastError();
    }
    DWORD Result(HANDLE file)
    {
        DWORD transferred = 0;
        return GetOverlappedResult(file, &Record, &transferred, FALSE) ? 0 : GetLastError();
    }

    char Input;
    std::string Output = "########";
    OVERLAPPED Record{0, 55, 0, 0, nullptr};
    DWORD Returned = 77;
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

constexpr DWORD Pending = ERROR_IO_PENDING, Incomplete = ERROR_IO_INCOMPLETE, Aborted = ERROR_OPERATION_ABORTED,
                Removed = ERROR_DEVICE_REMOVED;

TEST_F(DeviceIoTest, ARequestCompletesOnlyOnce)
{
    const Opened file = Open();
    for (const bool atOnce : {true, false})
    {
        Call call;
        const auto end = [](const RequestPtr& request) {
            EXPECT_EQ('i', request->Input()[0]);
            EXPECT_TRUE(request->Complete(0xE0000209, BytesOf("abc")));
            EXPECT_FALSE(request->Complete(0, BytesOf("XX"))) << "the first end counts";
        };
        Driver->OnStart = atOnce ? std::function(end) : nullptr;
        EXPECT_EQ(atOnce ? 0xE0000209 : Pending, call.Send(file));
        EXPECT_EQ(atOnce ? 77U : 55U, call.Returned) << "what the record held, as Windows has it";
        if (!atOnce)
        {
            EXPECT_EQ(Platform::CountOpenObjects().Total(), 2U) << "the file and the request";
            call.Input = 'x'; // the driver has its own copy
            end(Driver->Kept.back());
            EXPECT_EQ(call.Result(file), 0xE0000209);
        }
        EXPECT_EQ(call.Output, "########");
        EXPECT_EQ(InFlight(), 0U);
    }
}

TEST_F(DeviceIoTest, MemoryStaysInUseUntilTheDriverCompletesTheRequest)
{
    HANDLE file = nullptr;
    std::vector<Call> calls; // 0 and 1 of this thread on the file, 2 of another thread, 3 on another file
    std::promise<void> leave;
    std::jthread sender;
    const std::pair<const char*, std::function<BOOL()>> cases[] = {
        {"012", [&] { return CancelIoEx(file, nullptr) && CancelIoEx(file, nullptr); }},
        {"2", [&] { return leave.set_value(), sender.join(), TRUE; }},
        {"012", [&] { return CloseHandle(file); }},
    };
    for (const auto& [expected, act] : cases)
    {
        file = Open();
        const HANDLE other = Open();
        calls = {Call('0'), Call('1'), Call('2'), Call('3')};
        for (const std::size_t i : {0U, 1U, 3U})
            EXPECT_EQ(calls[i].Send(i == 3 ? other : file), Pending);
        std::promise<void> sent;
        leave = {};
        sender = std::jthread([&] {
            EXPECT_EQ(calls[2].Send(file), Pending);
            sent.set_value();
            leave.get_future().wait();
        });
        sent.get_future().wait();
        EXPECT_TRUE(act());
        std::string cancelled;
        for (const RequestPtr& request : Driver->Cancelled)
            cancelled += static_cast<char>(request->IsCancelRequested() ? request->Input()[0] : '?');
        EXPECT_EQ(cancelled, expected);
        EXPECT_EQ(InFlight(), 4U) << "the driver has not let go";
        CloseHandle(file);
        CloseHandle(other);
        EXPECT_EQ(Driver->Closes, 0);
        for (const RequestPtr& request : Driver->Kept)
        {
            Call& call = calls[request->Input()[0] - std::size_t{'0'}];
            EXPECT_EQ(call.Result(file), Incomplete);
            request->Complete(Aborted);
            EXPECT_EQ(call.Result(file), Aborted);
        }
        EXPECT_EQ(std::exchange(Driver->Closes, 0), 2) << "closed after the last completion";
        Driver->Drop();
        if (sender.joinable())
            leave.set_value();
        sender = {};
    }
}

TEST_F(DeviceIoTest, CancelDuringStartIsDeliveredAfterIt)
{
    const Opened file = Open();
    Call call;
    Driver->OnStart = [&](const RequestPtr& request) {
        EXPECT_TRUE(CancelIoEx(file, &call.Record));
        EXPECT_TRUE(request->IsCancelRequested());
        EXPECT_TRUE(Driver->Cancelled.empty());
        Driver->Kept.push_back(request);
    };
    EXPECT_EQ(call.Send(file), Pending);
    EXPECT_EQ(Driver->Kept, Driver->Cancelled);
    Driver->Drop();
    EXPECT_EQ(call.Result(file), Aborted);
    EXPECT_FAILS_WITH(ERROR_NOT_FOUND, CancelIoEx(file, nullptr));
    EXPECT_TRUE(CancelIo(file));
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
        EXPECT_EQ(call.Send(file), Pending);
        out();
        EXPECT_EQ(Driver->Cancelled.size(), 1U);
        EXPECT_EQ(Open(), INVALID_HANDLE_VALUE);
        EXPECT_EQ(Box->Device("Zv_Device{1}"), nullptr);
        EXPECT_EQ(call.Result(file), Incomplete);
        EXPECT_EQ(Call().Send(file), Removed);
        Driver->Kept[0]->Complete(Removed);
        EXPECT_EQ(call.Result(file), Removed);
        back();
        EXPECT_EQ(Box->Device("ZV_DEVICE{1}"), Driver);
        EXPECT_EQ(Call().Send(file), Removed) << "the handle is not on the new device";
        Driver->Drop();
    }
    EXPECT_EQ(Driver->Closes, 3);
}

} // namespace
