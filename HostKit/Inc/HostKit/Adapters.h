/// @file
/// Creating a manager, listing adapters and opening them.
///
///     const auto manager = HostKit::CreateManager();
///     for (const HostKit::Adapter& adapter : HostKit::ListAdapters(*manager, {.Services = "ZV_USB"}))
///         if (HostKit::IsUsable(adapter))
///             Use(HostKit::OpenDevice(*manager, adapter));
///
/// Any thread may call these functions at any time, including callbacks of the library.
#pragma once

#include "Device.h"
#include "Status.h"

#include <CreateZVModule.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace HostKit
{

/// An adapter's record: a copy, which events do not change. List again to see the current state.
using Adapter = _ZV_SRVC_DEVICE_INFO;

/// Which adapters to list. An adapter passes if it meets all three conditions.
struct AdapterFilter
{
    /// "ZV_ALL", "ZV_USB", "ZV_SDIO", "ZV_PCIE", or driver service names in lower case; at most 49 characters.
    std::string Services = "ZV_ALL";
    /// Must be part of DeviceName, in the same letter case. Empty: no condition.
    std::string Name = {};
    /// Must be part of DeviceInstanceID, in the same letter case. Empty: no condition. HostKit compares this text
    /// itself, because the library's own pattern text has no effect while it answers from its list.
    std::string InstanceId = {};
};

/// Creates a manager. The first call of a process starts the library's service, which runs until the process ends.
/// The manager exists until then too, even after its last reference has been dropped.
/// @throws std::system_error with the status of CreateZVModule; std::bad_alloc.
/// @note Blocks for the start of threads.
inline std::shared_ptr<CDeviceManagerIntf> CreateManager()
{
    std::shared_ptr<CDeviceManagerIntf> manager;
    Check(CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP), "create manager");
    return manager;
}

/// A request of GetZVDeviceList with the memory of its filter, whose pattern text has no fixed length. For hosts that
/// call the operation themselves; the functions below do not need it.
class FilterRecord
{
public:
    /// @param services see AdapterFilter::Services; cut to 49 characters.
    /// @param instanceIds see `_ZV_SRVC_DEVICE_FILTER`.
    explicit FilterRecord(std::string_view services, std::string_view instanceIds = "")
        : Memory(ZV_FILTER_TEXT_SIZE + instanceIds.size() + 1)
    {
        services.copy(Memory.data(), ZV_FILTER_TEXT_SIZE - 1);
        instanceIds.copy(Memory.data() + ZV_FILTER_TEXT_SIZE, instanceIds.size());
        Request = {ZV_DEVICE_LIST_REQ_TAG, 0, reinterpret_cast<const _ZV_SRVC_DEVICE_FILTER*>(Memory.data())};
    }
    FilterRecord(const FilterRecord&) = delete;
    FilterRecord& operator=(const FilterRecord&) = delete;

    _ZV_SRVC_DEVICE_LIST_REQ Request{}; ///< Refers to memory of this object.

private:
    std::vector<char> Memory;
};

/// Lists adapters for a host that works with statuses and with the library's own filter. Calls GetZVDeviceList again
/// with a larger buffer when the list has grown between two calls.
/// @param manager the manager to ask.
/// @param services see AdapterFilter. @param instanceIds see `_ZV_SRVC_DEVICE_FILTER`.
/// @param adapters receives the adapters in the library's order; empty unless the result is ZV_SRVC_SUCCESS.
/// @return the status of GetZVDeviceList, including ZV_SRVC_ERR_NO_DEVICE when no adapter passes the filter;
///         ZV_SRVC_ERR_INVALID_PARAMETER for too long a service text; ZV_SRVC_ERR_BUFFER_TOO_SMALL when the list has
///         grown in each of 100 calls.
/// @throws std::bad_alloc
/// @note Blocks like GetZVDeviceList: for an enumeration of the network devices if the list does not
///       answer the request, otherwise not.
inline unsigned int QueryAdapters(CDeviceManagerIntf& manager, std::string_view services, std::string_view instanceIds,
                                  std::vector<Adapter>& adapters)
{
    constexpr int mostCalls = 100;
    constexpr std::size_t usualCount = 16; // the first call then succeeds for most hosts
    adapters.clear();
    if (services.size() >= ZV_FILTER_TEXT_SIZE)
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    const FilterRecord filter(services, instanceIds);
    std::vector<Adapter> records(usualCount);
    _ZV_SRVC_DEVICE_LIST_RSP result{};
    unsigned int status = ZV_SRVC_ERR_BUFFER_TOO_SMALL;
    for (int calls = 0; calls < mostCalls && status == ZV_SRVC_ERR_BUFFER_TOO_SMALL; ++calls)
    {
        records.resize(std::max(records.size(), result.Length / sizeof(Adapter)));
        result = {0, static_cast<std::uint32_t>(records.size() * sizeof(Adapter)), records.data()};
        status = manager.GetZVDeviceList(&filter.Request, &result);
    }
    if (status != ZV_SRVC_SUCCESS)
        return status;
    records.resize(result.Length / sizeof(Adapter));
    adapters = std::move(records);
    return status;
}

/// Lists adapters. A computer without a matching adapter is no error: the adapter may arrive later, so the result is
/// then an empty list.
/// @param manager the manager to ask.
/// @param filter which adapters to list.
/// @param error receives the error of QueryAdapters other than ZV_SRVC_ERR_NO_DEVICE; cleared otherwise.
/// @return the adapters, owned by the caller; empty after an error.
/// @throws std::bad_alloc
/// @note Blocks like QueryAdapters.
inline std::vector<Adapter> ListAdapters(CDeviceManagerIntf& manager, const AdapterFilter& filter,
                                         std::error_code& error)
{
    std::vector<Adapter> adapters;
    const unsigned int status = QueryAdapters(manager, filter.Services, "", adapters);
    error = MakeError(status == ZV_SRVC_ERR_NO_DEVICE ? ZV_SRVC_SUCCESS : status);
    std::erase_if(adapters, [&](const Adapter& adapter) {
        return std::string_view(adapter.DeviceName).find(filter.Name) == std::string_view::npos ||
               std::string_view(adapter.DeviceInstanceID).find(filter.InstanceId) == std::string_view::npos;
    });
    return adapters;
}

/// The same. @throws std::system_error instead of storing an error.
inline std::vector<Adapter> ListAdapters(CDeviceManagerIntf& manager, const AdapterFilter& filter = {})
{
    std::error_code error;
    std::vector<Adapter> adapters = ListAdapters(manager, filter, error);
    Check(error, "list adapters");
    return adapters;
}

/// Returns whether requests to the adapter can succeed: it is present and has no problem.
inline bool IsUsable(const Adapter& adapter)
{
    return (adapter.StateFlags & ZV_DEV_UNAVAILABLE_MASK) == 0;
}

/// Opens an adapter.
/// @param manager the manager that has listed the adapter.
/// @param adapter only NetCfgInstanceId is read.
/// @param error receives the error of CDeviceManagerIntf::OpenDevice, or is cleared. With ZV_SRVC_ERR_CONTROL_DEVICE
///        the driver did not answer, but the device is bound: it can be used, for example for registry values.
/// @return the device, not bound or empty after any other error.
/// @throws std::bad_alloc, std::system_error when memory or threads are exhausted.
/// @note Blocks for at most 300 ms for the driver, and for 100 ms if it keeps the cancelled request.
inline Device OpenDevice(CDeviceManagerIntf& manager, const Adapter& adapter, std::error_code& error)
{
    std::shared_ptr<CDeviceIntf> device;
    error = MakeError(manager.OpenDevice(&adapter, ZV_SRVC_DEVICE_UWP, device));
    return device == nullptr ? Device() : Device(std::move(device));
}

/// The same. @throws std::system_error instead of storing an error, even if the device is bound.
inline Device OpenDevice(CDeviceManagerIntf& manager, const Adapter& adapter)
{
    std::error_code error;
    Device device = OpenDevice(manager, adapter, error);
    Check(error, std::string("open adapter ") + adapter.NetCfgInstanceId);
    return device;
}

} // namespace HostKit
