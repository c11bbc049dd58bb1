// Commands that list, describe and switch adapters.
#include "AdapterChoice.h"
#include "AdapterView.h"
#include "Command.h"
#include "Errors.h"
#include "Library.h"
#include "Options.h"

#include <fmt/core.h>
#include <stdexcept>

namespace
{

struct ListOptions
{
    std::string Filter = "ZV_ALL";
    std::string Patterns;
    bool Json = false;
};

void List(const ListOptions& options)
{
    const std::vector<_ZV_SRVC_DEVICE_INFO> adapters = ListAdapters(options.Filter, options.Patterns);
    if (!options.Json)
        return fmt::print("{}", AdapterTable(adapters));
    Json::Array array;
    for (const _ZV_SRVC_DEVICE_INFO& adapter : adapters)
        array.push_back(AdapterJson(adapter));
    fmt::print("{}", Json(std::move(array)).Text());
}

// The options are shared by the parser and the action, which runs after this function has returned. All commands
// below use the same scheme.
Command AddList(Syntax app)
{
    const auto options = std::make_shared<ListOptions>();
    Syntax list = app.AddCommand("list", "List the adapters that pass a filter");
    list.AddText("--filter", options->Filter, "ZV_ALL, ZV_USB, ZV_SDIO, ZV_PCIE, or driver service names in lower case")
        .MaxLength(ZV_FILTER_TEXT_SIZE - 1)
        .ValueName("TEXT");
    list.AddText("--instance", options->Patterns,
                 "Only adapters whose device instance ID contains one of these texts, separated by ';'")
        .ValueName("TEXT");
    list.AddFlag("--json", options->Json, "Print a JSON array with every field of each record");
    return {list, [options] { List(*options); }};
}

struct InfoOptions
{
    std::string Adapter;
    bool Json = false;
};

void Info(const InfoOptions& options)
{
    const OpenAdapter adapter(options.Adapter);
    // Read again through the device: its record is current, while the one of the list was read before the open.
    _ZV_SRVC_DEVICE_INFO record = {};
    Require("GetDeviceInfo", adapter.Device->GetDeviceInfo(&record));
    fmt::print("{}", options.Json ? AdapterJson(record).Text() : AdapterDetails(record));
}

Command AddInfo(Syntax app)
{
    const auto options = std::make_shared<InfoOptions>();
    Syntax info = app.AddCommand("info", "Open an adapter and show its record");
    AddAdapter(info, options->Adapter);
    info.AddFlag("--json", options->Json, "Print a JSON object with every field");
    return {info, [options] { Info(*options); }};
}

void Ability(const std::string& text)
{
    // The ability is a registry value, so the driver need not answer.
    const OpenAdapter adapter(text, DriverNeed::Optional);
    std::uint32_t ability = 0;
    Require("GetAbility", adapter.Device->GetAbility(&ability));
    fmt::print("{}\n", ability);
}

Command AddAbility(Syntax app)
{
    const auto adapter = std::make_shared<std::string>();
    const Syntax ability = app.AddCommand("ability", "Print the ability number of an adapter's driver");
    AddAdapter(ability, *adapter);
    return {ability, [adapter] { Ability(*adapter); }};
}

/// Prefers a kept device, because the library does not open a disabled adapter.
std::shared_ptr<CDeviceIntf> DeviceFor(const std::string& text, bool enable)
try
{
    const std::vector<_ZV_SRVC_DEVICE_INFO> adapters = ListAllOrNone();
    const std::shared_ptr<CDeviceIntf> kept = KeptDevice(FieldText(ChooseAdapter(adapters, text).NetCfgInstanceId));
    return kept != nullptr ? kept : OpenAdapter(text, DriverNeed::Optional).Device;
}
catch (const OperationFailed& failure)
{
    // Only this status has a cause that the user can remove.
    if (!enable || failure.Status() != ZV_SRVC_ERR_DEVICE_NOT_OPEN)
        throw;
    throw std::runtime_error(
        fmt::format("{}; enabling requires a session that opened the adapter while it worked", failure.what()));
}

Command AddSwitch(Syntax app, const char* name, const char* help, bool enable)
{
    const auto adapter = std::make_shared<std::string>();
    const Syntax command = app.AddCommand(name, help);
    AddAdapter(command, *adapter);
    return {command, [adapter, enable] {
                std::shared_ptr<CDeviceIntf> device = DeviceFor(*adapter, enable);
                SetAdapterEnabled(device, enable);
            }};
}

} // namespace

std::vector<Command> AddAdapterCommands(Syntax app)
{
    return {AddList(app), AddInfo(app), AddAbility(app),
            AddSwitch(app, "enable", "Enable an adapter that this session opened while it worked", true),
            AddSwitch(app, "disable", "Disable an adapter", false)};
}
