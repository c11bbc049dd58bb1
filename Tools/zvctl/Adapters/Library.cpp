#include "Library.h"

#include "AdapterQuery.h"
#include "Errors.h"

#include <CreateZVModule.h>

#include <map>
#include <string>
#include <utility>

namespace
{

std::shared_ptr<CDeviceManagerIntf> MakeManager()
{
    std::shared_ptr<CDeviceManagerIntf> manager;
    Require("CreateZVModule", CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP));
    return manager;
}

/// Younger than the library's service, so that the end of the process drops the devices first.
std::map<std::string, std::shared_ptr<CDeviceIntf>, std::less<>>& Devices()
{
    static std::map<std::string, std::shared_ptr<CDeviceIntf>, std::less<>> devices;
    return devices;
}

} // namespace

std::shared_ptr<CDeviceManagerIntf> SessionManager()
{
    static const std::shared_ptr<CDeviceManagerIntf> manager = MakeManager();
    return manager;
}

std::vector<_ZV_SRVC_DEVICE_INFO> ListAll()
try
{
    return AdapterQuery("ZV_ALL", "").Run(*SessionManager());
}
catch (const OperationFailed& failure)
{
    if (failure.Status() != ZV_SRVC_ERR_NO_DEVICE)
        throw;
    return {};
}

void KeepDevice(std::string_view identity, std::shared_ptr<CDeviceIntf> device)
{
    Devices().insert_or_assign(std::string(identity), std::move(device));
}

std::shared_ptr<CDeviceIntf> KeptDevice(std::string_view identity)
{
    const auto kept = Devices().find(identity);
    return kept == Devices().end() ? nullptr : kept->second;
}
