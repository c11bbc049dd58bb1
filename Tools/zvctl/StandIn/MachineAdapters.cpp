#include "MachineAdapters.h"

#include <algorithm>
#include <filesystem>

namespace
{

/// A path is the standard library's way from UTF-16 to UTF-8.
std::string Utf8(const std::u16string& text)
{
    return std::filesystem::path(text).string();
}

std::string NameOf(const Platform::AdapterDescription& adapter)
{
    return Utf8(adapter.FriendlyName.value_or(adapter.Description.value_or(u"")));
}

/// Returns a stored text up to its NUL.
std::optional<std::string> TextValue(const Platform::Machine& machine, const std::string& key, const char* name)
{
    const std::optional<Platform::RegistryValue> value = machine.Value(key, name);
    if (!value)
        return std::nullopt;
    return std::string(value->Data.begin(), std::ranges::find(value->Data, 0));
}

std::string Lower(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

AdapterFacts FactsOf(const Platform::Machine& machine, const Platform::AdapterDescription& adapter)
{
    // From the registry, because commands and hosts may have changed it since the machine was loaded.
    const std::string key = R"(SYSTEM\CurrentControlSet\Control\Class\)" + Utf8(adapter.DriverKey.value_or(u"?"));
    AdapterFacts facts{.Name = NameOf(adapter)};
    facts.Identity = TextValue(machine, key, "NetCfgInstanceId");
    facts.DeviceInstanceId = TextValue(machine, key, "DeviceInstanceID");
    facts.Service = TextValue(machine, key + R"(\NDI)", "Service");
    if (facts.Service)
        facts.Service = Lower(*facts.Service);
    facts.Present = adapter.Present;
    facts.Readable = adapter.Readable;
    facts.Hidden = adapter.Hidden;
    facts.Problem = adapter.Problem;
    facts.HasHardwareId = adapter.HardwareId.has_value();
    facts.HasDriverKeyName = adapter.DriverKey.has_value();
    facts.HasDriverKey = machine.KeyExists(key);
    facts.HasLinkage = machine.KeyExists(key + R"(\Linkage)");
    facts.HasNdi = machine.KeyExists(key + R"(\NDI)");
    facts.HasControlDevice = machine.Device("Zorvane_Wifi_Device" + facts.Identity.value_or("")) != nullptr;
    return facts;
}

} // namespace

std::vector<AdapterName> MachineAdapterNames(const Platform::Machine& machine)
{
    std::vector<AdapterName> names;
    for (const Platform::AdapterId id : machine.Adapters())
    {
        const Platform::AdapterDescription adapter = machine.Adapter(id);
        names.push_back({adapter.NetCfgInstanceId.value_or(""), NameOf(adapter)});
    }
    return names;
}

std::vector<AdapterFacts> MachineAdapterFacts(const Platform::Machine& machine)
{
    std::vector<AdapterFacts> facts;
    for (const Platform::AdapterId id : machine.Adapters())
        facts.push_back(FactsOf(machine, machine.Adapter(id)));
    return facts;
}

Platform::AdapterId ChooseMachineAdapter(const Platform::Machine& machine, std::string_view text)
{
    // Both calls list the adapters in the same order, so the index of the name is that of the id.
    return machine.Adapters()[ChooseName(MachineAdapterNames(machine), text)];
}

std::optional<Platform::AdapterId> FindMachineAdapter(const Platform::Machine& machine, std::string_view identity)
{
    const std::vector<Platform::AdapterId> ids = machine.Adapters();
    const auto found = std::ranges::find_if(
        ids, [&](Platform::AdapterId id) { return machine.Adapter(id).NetCfgInstanceId == identity; });
    return found == ids.end() ? std::nullopt : std::optional(*found);
}
