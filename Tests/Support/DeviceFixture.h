/// @file
/// An adapter with a scripted driver, and a device opened on it through the manager.
#pragma once

#include "Hosting.h"
#include "ScriptedDevice.h"

#include <gtest/gtest.h>

#include <atomic>
#include <semaphore>

inline constexpr char ControlDeviceName[] = "Zorvane_Wifi_Device";

using Bytes = std::vector<std::uint8_t>;

/// A scripted driver that keeps response reads until the test ends them.
class TestDriver final : public Platform::ScriptedDevice
{
public:
    static constexpr std::uint32_t WaitRsp = 0x122418;

    TestDriver() { On(WaitRsp, Hold()); }

    /// The oldest response read in flight; waits for one.
    RequestPtr Read() { return Held(WaitRsp); }
    /// Ends the oldest read with a chunk.
    void Chunk(const Bytes& bytes) { End(Read(), bytes); }
    /// Ends a read with a chunk. After a short one nobody takes what the other reads of that handle
    /// would bring, although they are not cancelled yet.
    void End(const RequestPtr& read, const Bytes& bytes)
    {
        if (bytes.size() < 200)
            SetAside(WaitRsp, read->OpenId());
        read->Complete(0, bytes);
    }
};

class DeviceTest : public testing::Test
{
protected:
    DeviceTest() { AddAdapter("{dev}", Driver); }

    /// Nothing of the platform's is left when the device is gone.
    ~DeviceTest() override
    {
        Device.reset();
        Platform::OpenObjects open = Platform::CountOpenObjects();
        open.TraceProviders = 0;
        EXPECT_EQ(open.Total(), 0U);
    }

    void AddAdapter(const std::string& identity, const std::shared_ptr<TestDriver>& driver)
    {
        Machine->AttachDevice(ControlDeviceName + identity, driver);
        LastAdapter = Machine->AddAdapter(GivenAdapter(identity, "zvwlanu"));
    }

    /// Opens a device on a listed adapter.
    unsigned int Open(std::shared_ptr<CDeviceIntf>& device, const std::string& identity = "{dev}")
    {
        EXPECT_EQ(List(*Manager, "ZV_USB").Status, ZV_SRVC_SUCCESS);
        _ZV_SRVC_DEVICE_INFO record{};
        identity.copy(record.NetCfgInstanceId, sizeof record.NetCfgInstanceId - 1);
        return Manager->OpenDevice(&record, ZV_SRVC_DEVICE_UWP, device);
    }

    void OpenIt()
    {
        ASSERT_EQ(Open(Device), ZV_SRVC_SUCCESS);
        Driver->Requests();
    }

    Platform::ScopedMachine Machine;
    std::shared_ptr<TestDriver> Driver = std::make_shared<TestDriver>();
    std::shared_ptr<CDeviceManagerIntf> Manager = MakeManager();
    std::shared_ptr<CDeviceIntf> Device;
    Platform::AdapterId LastAdapter = 0;
};

/// An asynchronous request with its memory and the end that it was told of.
struct AsyncRequest
{
    AsyncRequest(std::uint16_t id, std::uint32_t code, std::size_t room, Bytes input = {})
        : In(std::move(input)), Out(room, 0xEE)
    {
        Record.IoctlCode = code;
        Record.RequestId = id;
        Record.InBuffer = In.data();
        Record.InLength = static_cast<std::uint32_t>(In.size());
        Record.OutBuffer = Out.data();
        Record.OutLength = static_cast<std::uint32_t>(Out.size());
        Record.Timeout = 5000;
        Record.IsAsync = 1;
        Record.NotifyFn = &AsyncRequest::OnEnd;
        Record.NotifyContext = this;
    }
    AsyncRequest(const AsyncRequest&) = delete;
    AsyncRequest& operator=(const AsyncRequest&) = delete;

    std::uint32_t Await()
    {
        Ended.acquire();
        return Status;
    }

    _ZV_SRVC_IOCTL_REQ Record{};
    Bytes In;
    Bytes Out;
    std::uint32_t Status = 77; ///< Written before Ended is released.
    std::atomic<int> Ends{0};
    std::binary_semaphore Ended{0};
    std::function<void()> InCallback;

private:
    static void OnEnd(void* context, std::uint32_t status, const _ZV_ASYNC_RESULT* result)
    {
        AsyncRequest& self = *static_cast<AsyncRequest*>(context);
        EXPECT_EQ(result->Type, 0x30001U);
        EXPECT_EQ(result->Length, 8U);
        EXPECT_EQ(result->Request, &self.Record);
        self.Status = status;
        ++self.Ends;
        if (self.InCallback)
            self.InCallback();
        self.Ended.release();
    }
};
