#include "Library.h"

#include "Diagnosis.h"

#include <CreateZVModule.h>
#include <HostKit/Adapters.h>

#include <stdexcept>

namespace
{

std::shared_ptr<CDeviceManagerIntf> MakeManager()
{
    std::shared_ptr<CDeviceManagerIntf> manager;
    Require("CreateZVModule", CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP));
    return manager;
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
    if (filter.size() >= ZV_FILTER_TEXT_SIZE)
        throw std::length_error("the filter text is longer than 49 characters");
    std::vector<_ZV_SRVC_DEVICE_INFO> adapters;
    Require("GetZVDeviceList", HostKit::QueryAdapters(*SessionManager(), filter, instancePatterns, adapters));
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
