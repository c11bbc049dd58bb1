// Commands that list, describe and switch adapters.
#include "AdapterChoice.h"
#include "AdapterView.h"
#include "Command.h"
#include "Errors.h"
#include "KeptDevices.h"
#include "Library.h"
#include "Options.h"
#include "RegistryValues.h"
#include "Terminal.h"

#include <fmt/core.h>

namespace
{

struct ListOptions
{
    std::string Filter = "ZV_ALL";
    std::string Patterns;
    bool Json = false;
};

/// Explains a list without adapters by the options.
OperationFailed NothingListed(const ListOptions& options)
{
    const std::string cause =
        options.Patterns.empty()
            ? fmt::format("no adapter matches filter \"{}\"; filters are ZV_ALL, ZV_USB, ZV_SDIO, ZV_PCIE and service "
                          "names in lower case",
                          options.Filter)
            : fmt::format(R"(no adapter of filter "{}" has a device instance ID that contains "{}")", options.Filter,
                          options.Patterns);
    return {"GetZVDeviceList", ZV_SRVC_ERR_NO_DEVICE, ExitCode::NotFound,
            cause + "; 'zvctl doctor' shows all adapters"};
}

void List(const ListOptions& options)
{
    std::vector<_ZV_SRVC_DEVICE_INFO> adapters;
    try
    {
        adapters = ListAdapters(options.Filter, options.Patterns);
    }
    catch (const OperationFailed& failure)
    {
        if (failure.Status() != ZV_SRVC_ERR_NO_DEVICE)
            throw;
        throw NothingListed(options);
    }
    if (!options.Json)
        return fmt::print("{}", AdapterTable(adapters, TerminalWidth()));
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
        .Length(1, ZV_FILTER_TEXT_SIZE - 1)
        .ValueName("TEXT");
    list.AddText("--instance", options->Patterns,
                 "Only adapters whose device instance ID contains one of these texts, separated by ';'")
        .ValueName("TEXT");
    AddJson(list, options->Json, "Print a JSON array with every field of each record");
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
    AddJson(info, options->Json, "Print a JSON object with every field");
    return {info, [options] { Info(*options); }};
}

/// Explains a failure of GetAbility: the library has one status for a missing and for an unusable value.
OperationFailed NoAbility(CDeviceIntf& device, unsigned int status)
{
    const ValuePlace place = {"", "ZVSrvcLibSupport"};
    if (status != ZV_SRVC_ERR_ABILITY_QUERY)
        return {"GetAbility", status};
    if (!HasValue(device, place))
        return {"GetAbility", status, ExitCode::NotFound,
                fmt::format("no value \"{}\" in the driver key; the driver reports no ability", place.Name)};
    return {"GetAbility", status, ExitCode::OperationFailed,
            fmt::format("the value \"{}\" is neither a text nor a 32-bit number", place.Name)};
}

void Ability(const InfoOptions& options)
{
    // The ability is a registry value, so the driver need not answer.
    const OpenAdapter adapter(options.Adapter, DriverNeed::Optional);
    std::uint32_t ability = 0;
    if (const unsigned int status = adapter.Device->GetAbility(&ability); status != ZV_SRVC_SUCCESS)
        throw NoAbility(*adapter.Device, status);
    if (!options.Json)
        return fmt::print("{}\n", ability);
    const Json object = Json::Object{{"adapter", FieldText(adapter.Record.NetCfgInstanceId)}, {"ability", ability}};
    fmt::print("{}", object.Text());
}

Command AddAbility(Syntax app)
{
    const auto options = std::make_shared<InfoOptions>();
    const Syntax ability = app.AddCommand("ability", "Print the ability number of an adapter's driver");
    AddAdapter(ability, options->Adapter);
    AddJson(ability, options->Json);
    return {ability, [options] { Ability(*options); }};
}

/// Prefers a kept device, because the library does not open a disabled adapter.
std::shared_ptr<CDeviceIntf> DeviceFor(const std::string& text, bool enable)
{
    const std::vector<_ZV_SRVC_DEVICE_INFO> adapters = ListSomeAdapters();
    const auto kept = KeptDevices::Find(FieldText(ChooseAdapter(adapters, text).NetCfgInstanceId));
    return kept != nullptr
               ? kept
               : OpenAdapter(text, DriverNeed::Optional,
                             enable ? "enabling requires a session that opened the adapter while it worked" : "")
                     .Device;
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
