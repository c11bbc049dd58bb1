#include "AdapterChoice.h"
#include "AdapterView.h"
#include "Command.h"
#include "Errors.h"
#include "Library.h"
#include "NicState.h"
#include "Options.h"

#include <fmt/format.h>
#include <stdexcept>

namespace
{

/// The library takes a device only, and opens none for an adapter that is disabled.
std::shared_ptr<CDeviceIntf> DeviceFor(const std::string& text, bool enable)
try
{
    const std::vector<_ZV_SRVC_DEVICE_INFO> adapters = ListAll();
    const std::shared_ptr<CDeviceIntf> kept = KeptDevice(FieldText(ChooseAdapter(adapters, text).NetCfgInstanceId));
    return kept != nullptr ? kept : OpenAdapter(text, DriverNeed::Optional).Device;
}
catch (const OperationFailed& failure)
{
    if (!enable || failure.Status() != ZV_SRVC_ERR_DEVICE_NOT_OPEN)
        throw;
    throw std::runtime_error(fmt::format(
        "{}; the library enables an adapter only by a device that was opened while it worked", failure.what()));
}

Command AddChange(CLI::App& app, const char* name, const char* help, bool enable)
{
    const auto adapter = std::make_shared<std::string>();
    CLI::App* const change = app.add_subcommand(name, help);
    AddAdapter(*change, *adapter);
    return {change, [adapter, enable] {
                std::shared_ptr<CDeviceIntf> device = DeviceFor(*adapter, enable);
                ChangeNicState(*SessionManager(), device, enable);
            }};
}

} // namespace

std::vector<Command> AddNicCommands(CLI::App& app)
{
    return {AddChange(app, "enable", "Enable an adapter that this session opened while it worked", true),
            AddChange(app, "disable", "Disable an adapter", false)};
}
