/// @file
/// An adapter with a scripted driver, and a device opened on it through the manager.
#pragma once

#include "AsyncRequest.h"
#include "Hosting.h"
#include "ScriptedDevice.h"

#include <gtest/gtest.h>

inline constexpr char ControlDeviceName[] = "Zorvane_Wifi_Device";

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
    /// Completes a read with a chunk. After a short chunk the library ignores the other reads of that
    /// handle, although they are not cancelled yet.
    void End(const RequestPtr& read, const Bytes& bytes)
    {
        if (bytes.size() < 200)
            IgnoreRequests(WaitRsp, read->OpenId());
        read->Complete(0, bytes);
    }
};

class DeviceTest : public testing::Test
{
protected:
    DeviceTest() { AddAdapter("{dev}", Driver); }

    /// Checks that no platform object is left when the device is destroyed.
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
