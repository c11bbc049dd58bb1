/// @file
/// A machine for benchmarks, and the one manager of the process that lists its adapters.
#pragma once

#include "ControlDevice.h"
#include "Machine.h"
#include "Platform.h"
#include "ZVSrvcLib.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

/// Identities of one length, because an identity that is part of another would count as the same adapter.
inline std::string BenchIdentity(std::size_t index)
{
    return "{" + std::to_string(100'000 + index) + "}";
}

/// Adds an adapter of the USB service.
inline void AddBenchAdapter(Platform::Machine& machine, std::size_t index,
                            const std::shared_ptr<Platform::ControlDevice>& driver, std::uint32_t problem = 0)
{
    const std::string identity = BenchIdentity(index);
    // Named, because the search for a free key examines all keys before it.
    const std::string key = R"({4D36E972-E325-11CE-BFC1-08002BE10318}\)" + std::to_string(100'000 + index);
    Platform::AdapterDescription adapter;
    adapter.DriverKey = std::u16string(key.begin(), key.end());
    adapter.NetCfgInstanceId = identity;
    adapter.Service = "zvwlanu";
    adapter.HardwareId = u"USB";
    adapter.Problem = problem;
    machine.AttachDevice("Zorvane_Wifi_Device" + identity, driver);
    machine.AddAdapter(adapter);
}

/// The service notifies every manager ever created, so a process that measures has one.
inline CDeviceManagerIntf& BenchManager()
{
    static const std::shared_ptr<CDeviceManagerIntf> manager = [] {
        std::shared_ptr<CDeviceManagerIntf> created;
        if (CreateZVModule(created, ZV_SRVC_DEVICE_MANAGER_UWP) != ZV_SRVC_SUCCESS)
            throw std::runtime_error("no manager");
        return created;
    }();
    return *manager;
}

/// Lists into `records`, or asks for the size when it is empty.
inline unsigned int BenchList(std::vector<_ZV_SRVC_DEVICE_INFO>& records, const char* filterName = "ZV_USB")
{
    _ZV_SRVC_DEVICE_FILTER filter{};
    std::memcpy(filter.FilterText, filterName, std::strlen(filterName));
    const _ZV_SRVC_DEVICE_LIST_REQ request{ZV_DEVICE_LIST_REQ_TAG, 0, &filter};
    _ZV_SRVC_DEVICE_LIST_RSP result{0, static_cast<std::uint32_t>(records.size() * sizeof records[0]),
                                    records.empty() ? nullptr : records.data()};
    return BenchManager().GetZVDeviceList(&request, &result);
}

/// Enumerates the current machine.
inline void BenchRelist()
{
    std::vector<_ZV_SRVC_DEVICE_INFO> none;
    BenchList(none, "nothing");
    if (BenchList(none) != ZV_SRVC_ERR_BUFFER_TOO_SMALL)
        throw std::runtime_error("no adapter is listed");
}
