/// @file
/// An adapter with a driver of the test, and a device opened on it through the manager.
#pragma once

#include "AsyncRequest.h"
#include "TestMachine.h"

#include <gtest/gtest.h>

class DeviceTest : public testing::Test
{
protected:
    /// Checks that no platform object is left when the device is destroyed.
    ~DeviceTest() override
    {
        Device.reset();
        EXPECT_EQ(CountOpen(Driver.get()), 0U);
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

    TestMachine Machine;
    std::shared_ptr<TestDriver> Driver = PlugAdapter("{dev}");
    std::shared_ptr<CDeviceManagerIntf> Manager = MakeManager();
    std::shared_ptr<CDeviceIntf> Device;
};
