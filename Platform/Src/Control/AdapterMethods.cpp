// Methods that change adapters, their drivers, the power state and the rights of callers.
#include "AdapterJson.h"
#include "DriverModule.h"
#include "MachineImpl.h"
#include "MachineMethods.h"

#include <nlohmann/json.hpp>

#include <array>
#include <optional>

namespace Platform
{

namespace
{

using nlohmann::json;

/// Runs an operation on the adapter that the parameters choose.
template <auto Operation>
json OnAdapter(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"adapter", "id"});
    (machine.*Operation)(ChosenAdapter(machine, params));
    return json::object();
}

/// Does the same with an operation that can be refused.
template <auto Operation>
json AskAdapter(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"adapter", "id"});
    return {{"done", (machine.*Operation)(ChosenAdapter(machine, params))}};
}

json SetProblemNumber(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"adapter", "id", "problem"});
    const std::uint32_t problem = params.Member("problem").Number();
    machine.SetProblem(ChosenAdapter(machine, params), problem);
    return json::object();
}

json UpdateDriverVersion(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"adapter", "id", "version"});
    const std::string version = params.Member("version").Text();
    return {{"done", machine.UpdateDriver(ChosenAdapter(machine, params), version)}};
}

/// A driver that an adapter brings along, as in a machine file.
struct NewDevice
{
    std::string Name = {};
    DeviceSource Source = {};
    std::shared_ptr<ControlDevice> Device = {};
};

NewDevice MakeDevice(const JsonNode& node)
{
    node.AllowMembers({"name", "module", "settings"});
    NewDevice made{.Name = node.Member("name").Text(), .Source = {.Module = node.Member("module").Text()}};
    node.Member("name").Require(!made.Name.empty(), "expected a name");
    made.Source.Settings = node.HasMember("settings") ? node.Member("settings").Json() : "{}";
    try
    {
        made.Device = MakeControlDevice("", made.Source.Module, made.Name, made.Source.Settings);
    }
    catch (const DriverModuleError& error)
    {
        throw MethodError("noDriver", error.what());
    }
    return made;
}

/// Reads an adapter of a machine file. `device` receives its driver if it has one.
AdapterDescription ReadNewAdapter(const JsonNode& node, std::optional<NewDevice>& device)
{
    AdapterDescription adapter;
    node.ForMembers([&](const std::string& name, const JsonNode& value) {
        if (name == "controlDevice")
            device = MakeDevice(value);
        else if (name == "controlDeviceName")
            adapter.ControlDeviceName = value.Text();
        else if (!ReadAdapterField(name, value, adapter))
            value.Fail("unknown key");
    });
    if (device)
        adapter.ControlDeviceName = device->Name;
    return adapter;
}

json AddNewAdapter(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"adapter"});
    std::optional<NewDevice> device;
    const AdapterDescription adapter = ReadNewAdapter(params.Member("adapter"), device);
    if (device)
    {
        Machine::Impl& own = machine.Internal();
        const ScopedLock lock(own.Lock);
        if (own.Devices.Contains(device->Name))
            throw MethodError("nameTaken", "a device of the name \"" + device->Name + "\" is attached already");
        own.Attach(device->Name, device->Device, device->Source);
    }
    return {{"id", machine.AddAdapter(adapter)}};
}

/// The parameter "device" reaches drivers that no adapter names.
std::string ChosenDevice(const Machine& machine, const JsonNode& params)
{
    if (params.HasMember("device"))
        return params.Member("device").Text();
    std::string name = machine.Adapter(ChosenAdapter(machine, params)).ControlDeviceName;
    if (name.empty())
        throw MethodError("noDriver", "this adapter has no driver");
    return name;
}

json ConfigureDriver(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"adapter", "id", "device", "settings"});
    const JsonNode settings = params.Member("settings");
    settings.Require(settings.IsObject(), "expected an object");
    const std::string device = ChosenDevice(machine, params);
    try
    {
        machine.ConfigureDevice(device, settings.Json());
    }
    catch (const std::invalid_argument& error)
    {
        throw MethodError("noDriver", error.what());
    }
    return json::object();
}

template <auto Operation>
json OnComputer(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({});
    (machine.*Operation)();
    return json::object();
}

json BroadcastMessage(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"message", "wParam"});
    const std::uint64_t wParam = params.HasMember("wParam") ? params.Member("wParam").LongNumber() : 0;
    machine.Broadcast(params.Member("message").Number(), wParam);
    return json::object();
}

json SetRights(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"administrator"});
    machine.SetCallerRights(params.Member("administrator").Flag());
    return json::object();
}

constexpr std::array AdapterTable = std::to_array<NamedMethod>({
    {"plug", OnAdapter<&Machine::Plug>},
    {"unplug", OnAdapter<&Machine::Unplug>},
    {"enable", AskAdapter<&Machine::Enable>},
    {"disable", AskAdapter<&Machine::Disable>},
    {"uninstall", AskAdapter<&Machine::Uninstall>},
    {"problem", SetProblemNumber},
    {"driverVersion", UpdateDriverVersion},
    {"driver", ConfigureDriver},
    {"addAdapter", AddNewAdapter},
    {"removeAdapter", OnAdapter<&Machine::RemoveAdapter>},
    {"suspend", OnComputer<&Machine::Suspend>},
    {"resume", OnComputer<&Machine::Resume>},
    {"broadcast", BroadcastMessage},
    {"rights", SetRights},
});

} // namespace

std::span<const NamedMethod> AdapterMethods()
{
    return AdapterTable;
}

} // namespace Platform
