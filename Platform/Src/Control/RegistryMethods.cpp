// Methods for the registry below HKEY_LOCAL_MACHINE, and for named events.
#include "AdapterJson.h"
#include "MachineImpl.h"
#include "MachineMethods.h"

#include <nlohmann/json.hpp>

#include <array>

namespace Platform
{

namespace
{

using nlohmann::json;

MethodError NoKey(const std::string& path)
{
    return {"noKey", "there is no key \"" + path + '"'};
}

json ReadRegistry(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"path", "name"});
    const std::string path = params.Member("path").Text();
    const std::string name = params.Member("name").Text();
    const std::optional<RegistryValue> value = machine.Value(path, name);
    if (value)
        return {{"value", ValueToJson(*value)}};
    if (!machine.KeyExists(path))
        throw NoKey(path);
    throw MethodError("noValue", "the key has no value \"" + name + '"');
}

json WriteRegistry(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"path", "name", "value"});
    machine.SetValue(params.Member("path").Text(), params.Member("name").Text(), ReadValue(params.Member("value")));
    return json::object();
}

json CreateRegistryKey(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"path"});
    machine.CreateKey(params.Member("path").Text());
    return json::object();
}

/// Deletes a value or, without a name, a key with everything below it.
json DeleteRegistry(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"path", "name"});
    const std::string path = params.Member("path").Text();
    bool exists = false;
    if (params.HasMember("name"))
    {
        const std::string name = params.Member("name").Text();
        exists = machine.Value(path, name).has_value();
        machine.DeleteValue(path, name);
    }
    else
    {
        exists = machine.KeyExists(path);
        machine.DeleteTree(path);
    }
    return {{"done", exists}};
}

json ListRegistry(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"path"});
    const std::string path = params.HasMember("path") ? params.Member("path").Text() : "";
    std::vector<std::string> keys;
    ValueMap values;
    {
        Machine::Impl& own = machine.Internal();
        const ScopedLock lock(own.Lock);
        const RegistryKeyPtr key = own.Registry->Find(path);
        if (!key)
            throw NoKey(path);
        keys = key->SubkeyNames();
        values = key->Values;
    }
    return {{"keys", keys}, {"values", ValuesToJson(values)}};
}

json SignalNamedEvent(Machine& machine, const JsonNode& params)
{
    params.AllowMembers({"name", "signalled"});
    const bool signalled = !params.HasMember("signalled") || params.Member("signalled").Flag();
    machine.SetNamedEvent(params.Member("name").Text(), signalled);
    return json::object();
}

constexpr std::array RegistryTable = std::to_array<NamedMethod>({
    {"registryRead", ReadRegistry},
    {"registryWrite", WriteRegistry},
    {"registryCreate", CreateRegistryKey},
    {"registryDelete", DeleteRegistry},
    {"registryList", ListRegistry},
    {"signalEvent", SignalNamedEvent},
});

} // namespace

std::span<const NamedMethod> RegistryMethods()
{
    return RegistryTable;
}

} // namespace Platform
