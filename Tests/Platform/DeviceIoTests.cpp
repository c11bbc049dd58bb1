#include "Expect.h"
#include "ScriptedDevice.h"

namespace
{

using RequestPtr = std::shared_ptr<Platform::IoRequest>;

constexpr DWORD Code = 0x122414;
constexpr DWORD Pending = ERROR_IO_PENDING;
constexpr DWORD Removed = ERROR_DEVICE_REMOVED;

/// Holds every request, also when it is cancelled, and counts the closes.
struct HoldingDevice : Platform::ScriptedDevice
{
    HoldingDevice()
    {
        On(Code, Hold());
        HoldCancelled();
    }
    void Close(std::uint64_t /*openId*/) override { ++Closes; }

    int Closes = 0;
};

/// A request without data. Results are 0 for a success, otherwise the error.
struct Call
{
    DWORD Send(HANDLE file)
    {
        return DeviceIoControl(file, Code, nullptr, 0, nullptr, 0, nullptr, &Record) ? 0 : GetLastError();
    }
    DWORD Result(HANDLE file)
    {
        DWORD transferred = 0;
        return GetOverlappedResult(file, &Record, &transferred, FALSE) ? 0 : GetLastError();
    }

    OVERLAPPED Record{};
};

class DeviceIoTest : public OnMachine
{
protected:
    DeviceIoTest() { Box->AttachDevice("Zv_Device{1}", Driver); }

    static HANDLE Open()
    {
        return CreateFileA(R"(\\.\Zv_Device{1})", GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                           FILE_FLAG_OVERLAPPED, nullptr);
    }

    std::shared_ptr<HoldingDevice> Driver = std::make_shared<HoldingDevice>();
};

TEST_F(DeviceIoTest, DeviceIsClosedAfterTheLastCompletion)
{
    const HANDLE file = Open();
    Call call;
    EXPECT_EQ(call.Send(file), Pending);
    EXPECT_TRUE(CloseHandle(file));
    const RequestPtr request = Driver->Cancelled();
    EXPECT_TRUE(request->IsCancelRequested());
    EXPECT_EQ(call.Result(file), DWORD{ERROR_IO_INCOMPLETE}) << "the memory is in use until the driver completes";
    EXPECT_EQ(Driver->Closes, 0);
    EXPECT_TRUE(request->Complete(ERROR_OPERATION_ABORTED));
    EXPECT_FALSE(request->Complete(0)) << "only the first completion counts";
    EXPECT_EQ(call.Result(file), DWORD{ERROR_OPERATION_ABORTED});
    EXPECT_EQ(Driver->Closes, 1);
}

TEST_F(DeviceIoTest, CancelDuringStartIsDeliveredAfterIt)
{
    const Opened file = Open();
    Call call;
    std::weak_ptr<Platform::IoRequest> started;
    Driver->On(Code, [&](const RequestPtr& request) {
        EXPECT_TRUE(CancelIoEx(file, &call.Record));
        EXPECT_TRUE(request->IsCancelRequested());
        started = request;
    });
    EXPECT_EQ(call.Send(file), Pending);
    EXPECT_EQ(Driver->Cancelled(), started.lock());
    EXPECT_EQ(call.Result(file), DWORD{ERROR_OPERATION_ABORTED}) << "a request that the driver drops is completed";
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
        EXPECT_EQ(Open(), INVALID_HANDLE_VALUE);
        EXPECT_EQ(Call().Send(file), Removed);
        Driver->Cancelled()->Complete(Removed);
        EXPECT_EQ(call.Result(file), Removed);
        back();
        EXPECT_EQ(Box->Device("ZV_DEVICE{1}"), Driver);
        EXPECT_EQ(Call().Send(file), Removed) << "the handle is not on the new device";
    }
    EXPECT_EQ(Driver->Closes, 3);
}

} // namespace
