#include "Library.h"

#include "Diagnosis.h"

#include <CreateZVModule.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace
{

/// Bounds the repetitions for a list that grows between the query of its size and that of its records.
constexpr int MaxRounds = 16;

std::shared_ptr<CDeviceManagerIntf> MakeManager()
{
    std::shared_ptr<CDeviceManagerIntf> manager;
    Require("CreateZVModule", CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP));
    return manager;
}

/// Returns the bytes of a `_ZV_SRVC_DEVICE_FILTER` with its complete pattern text.
std::vector<char> FilterRecord(std::string_view filter, std::string_view instancePatterns)
{
    if (filter.size() >= ZV_FILTER_TEXT_SIZE)
        throw std::length_error("the filter text is longer than 49 characters");
    // The record has a one-byte array at its end; the pattern text extends past it.
    constexpr std::size_t head = offsetof(_ZV_SRVC_DEVICE_FILTER, InstanceIdList);
    std::vector<char> record(head + instancePatterns.size() + 1);
    std::ranges::copy(filter, record.data());
    std::ranges::copy(instancePatterns, record.data() + head);
    return record;
}

} // namespace

std::shared_ptr<CDeviceManagerIntf> SessionManager()
{
    // A failed creation leaves the static uninitialised, so that the next command tries again.
    static const std::shared_ptr<CDeviceManagerIntf> manager = MakeManager();
    return manager;
}

std::vector<_ZV_SRVC_DEVICE_INFO> ListAdapters(std::string_view filter, std::string_view instancePatterns)
{
    const std::vector<char> record = FilterRecord(filter, instancePatterns);
    const _ZV_SRVC_DEVICE_LIST_REQ request = {ZV_DEVICE_LIST_REQ_TAG, 0,
                                              reinterpret_cast<const _ZV_SRVC_DEVICE_FILTER*>(record.data())};
    CDeviceManagerIntf& manager = *SessionManager();
    _ZV_SRVC_DEVICE_LIST_RSP result = {};
    std::vector<_ZV_SRVC_DEVICE_INFO> adapters;
    // Without a buffer, the call returns only the size in bytes.
    unsigned int status = manager.GetZVDeviceList(&request, &result);
    for (int round = 0; status == ZV_SRVC_ERR_BUFFER_TOO_SMALL && round < MaxRounds; ++round)
    {
        // One more than needed: an empty vector has a null buffer, which queries the size again.
        adapters.resize(result.Length / sizeof(_ZV_SRVC_DEVICE_INFO) + 1);
        result.Buffer = adapters.data();
        status = manager.GetZVDeviceList(&request, &result);
    }
    Require("GetZVDeviceList", status);
    adapters.resize(result.Length / sizeof(_ZV_SRVC_DEVICE_INFO));
    return adapters;
}

std::vector<_ZV_SRVC_DEVICE_INFO> ListAllOrNone()
try
{
    return ListAdapters();
}
catch (const OperationFailed& failure)
{
    if (failure.Status() != ZV_SRVC_ERR_NO_DEVICE)
        throw;
    return {};
}

void SetAdapterEnabled(std::shared_ptr<CDeviceIntf>& device, bool enable)
{
    const unsigned int status = SessionManager()->NicChangeState(device, enable ? 1 : 0);
    if (status != ZV_SRVC_SUCCESS)
        throw SwitchFailure(status);
}
