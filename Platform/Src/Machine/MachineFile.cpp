// Reads a machine file: adapters and registry values from JSON, or an error with its position.
#include "DriverModule.h"
#include "JsonNode.h"
#include "Machine.h"
#include "MachineImpl.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>
#include <variant>

namespace Platform
{

namespace
{

using ValueTable = std::map<std::string, RegistryValue>;
using Field =
    std::variant<std::optional<std::string> AdapterDescription::*, std::optional<std::u16string> AdapterDescription::*,
                 bool AdapterDescription::*, std::uint32_t AdapterDescription::*, ValueTable AdapterDescription::*>;

// The keys of an adapter. They are documented in docs/MACHINE-FILE.md.
constexpr std::array AdapterFields = std::to_array<std::pair<std::string_view, Field>>({
    {"netCfgInstanceId", &AdapterDescription::NetCfgInstanceId},
    {"deviceInstanceId", &AdapterDescription::DeviceInstanceId},
    {"driverVersion", &AdapterDescription::DriverVersion},
    {"infSection", &AdapterDescription::InfSection},
    {"service", &AdapterDescription::Service},
    {"hardwareId", &AdapterDescription::HardwareId},
    {"friendlyName", &AdapterDescription::FriendlyName},
    {"description", &AdapterDescription::Description},
    {"className", &AdapterDescription::ClassName},
    {"classGuid", &AdapterDescription::ClassGuid},
    {"driverKey", &AdapterDescription::DriverKey},
    {"assignDriverKey", &AdapterDescription::AssignDriverKey},
    {"hasDriverKey", &AdapterDescription::HasDriverKey},
    {"hasLinkage", &AdapterDescription::HasLinkage},
    {"hasNdi", &AdapterDescription::HasNdi},
    {"present", &AdapterDescription::Present},
    {"hidden", &AdapterDescription::Hidden},
    {"readable", &AdapterDescription::Readable},
    {"problem", &AdapterDescription::Problem},
    {"stateChangeError", &AdapterDescription::StateChangeError},
    {"values", &AdapterDescription::Values},
});

// The published numbers of value types that have no function in RegistryValue.
constexpr std::uint32_t ExpandTextType = 2;
constexpr std::uint32_t TextListType = 7;

RegistryValue ReadTextList(const JsonNode& list)
{
    RegistryValue value{TextListType, {}};
    for (const JsonNode& element : list.Elements())
    {
        const std::string text = element.Text();
        value.Data.insert(value.Data.end(), text.begin(), text.end());
        value.Data.push_back(0);
    }
    value.Data.push_back(0); // the list ends with an empty text
    return value;
}

/// Reads {"type": ..., "value": ...}.
RegistryValue ReadValue(const JsonNode& node)
{
    node.AllowMembers({"type", "value"});
    const JsonNode typeNode = node.Member("type");
    const std::string type = typeNode.Text();
    const JsonNode value = node.Member("value");
    if (type == "dword")
        return RegistryValue::Number(value.Number());
    if (type == "sz")
        return RegistryValue::Text(value.Text());
    if (type == "expand_sz")
        return {ExpandTextType, RegistryValue::Text(value.Text()).Data};
    if (type == "multi_sz")
        return ReadTextList(value);
    if (type == "binary")
        return RegistryValue::Binary(value.Hexadecimal());
    typeNode.Fail(R"(expected "dword", "sz", "expand_sz", "multi_sz" or "binary")");
}

// One overload for each type of a field in AdapterFields.
void Read(const JsonNode& node, bool& out)
{
    out = node.Flag();
}

void Read(const JsonNode& node, std::uint32_t& out)
{
    out = node.Number();
}

void Read(const JsonNode& node, std::optional<std::string>& out)
{
    out = node.Text();
}

void Read(const JsonNode& node, std::optional<std::u16string>& out)
{
    out = ToUtf16(node.Text());
}

void Read(const JsonNode& node, ValueTable& out)
{
    node.ForMembers(
        [&](const std::string& name, const JsonNode& value) { out.insert_or_assign(name, ReadValue(value)); });
}

/// The driver that creates an adapter's control device.
struct DeviceSource
{
    JsonNode Place;
    std::string Name;
    std::string Module;
    std::string Settings;

    std::shared_ptr<ControlDevice> Make(const std::string& folder) const
    {
        try
        {
            return MakeControlDevice(folder, Module, Name, Settings);
        }
        catch (const DriverModuleError& error)
        {
            Place.Fail(error.what());
        }
    }
};

/// What a file describes, complete before the machine changes.
struct Contents
{
    std::vector<AdapterDescription> Adapters;
    std::map<std::string, DeviceSource, NameLess> Devices;
    std::map<std::string, ValueTable> Keys;
};

/// @return the name of the device.
std::string ReadControlDevice(const JsonNode& node, Contents& contents)
{
    node.AllowMembers({"name", "module", "settings"});
    const JsonNode nameNode = node.Member("name");
    const std::string name = nameNode.Text();
    if (name.empty() || contents.Devices.contains(name))
        nameNode.Fail("expected a name that no other device has");
    const std::string settings = node.HasMember("settings") ? node.Member("settings").Json() : "{}";
    contents.Devices.emplace(name, DeviceSource{node, name, node.Member("module").Text(), settings});
    return name;
}

AdapterDescription ReadAdapter(const JsonNode& node, Contents& contents)
{
    AdapterDescription adapter;
    node.ForMembers([&](const std::string& name, const JsonNode& value) {
        if (name == "controlDevice")
        {
            adapter.ControlDeviceName = ReadControlDevice(value, contents);
            return;
        }
        const auto field = std::ranges::find(AdapterFields, name, [](const auto& entry) { return entry.first; });
        if (field == AdapterFields.end())
            value.Fail("unknown key");
        std::visit([&](auto member) { Read(value, adapter.*member); }, field->second);
    });
    return adapter;
}

/// Adapters are identified by this text, compared exactly. Absent adapters count, because they may return.
void RequireOwnIdentity(const JsonNode& node, const AdapterDescription& adapter, const Contents& contents)
{
    const auto& identity = adapter.NetCfgInstanceId;
    const bool taken = identity && std::ranges::any_of(contents.Adapters, [&](const AdapterDescription& other) {
                           return other.NetCfgInstanceId == identity;
                       });
    if (taken)
        node.Member("netCfgInstanceId").Fail("another adapter has this identity");
}

Contents ReadContents(const JsonNode& root)
{
    Contents contents;
    root.ForMembers([&](const std::string& name, const JsonNode& section) {
        if (name == "adapters")
        {
            for (const JsonNode& node : section.Elements())
            {
                AdapterDescription adapter = ReadAdapter(node, contents);
                RequireOwnIdentity(node, adapter, contents);
                contents.Adapters.push_back(std::move(adapter));
            }
        }
        else if (name == "registry")
        {
            section.ForMembers(
                [&](const std::string& path, const JsonNode& values) { Read(values, contents.Keys[path]); });
        }
        else
        {
            section.Fail("unknown key");
        }
    });
    return contents;
}

/// Warns of adapters that no host can list or open, because a field is missing. This is not an error: a machine may
/// have such an adapter on purpose.
void WarnOfUnlisted(const Contents& contents, const std::string& origin)
{
    for (std::size_t i = 0; i < contents.Adapters.size(); ++i)
    {
        const auto warn = [&](bool isMissing, const char* field, const char* effect) {
            if (isMissing)
                std::fprintf(stderr, "%s: adapters[%zu] %s: it has no \"%s\"\n", origin.c_str(), i, effect, field);
        };
        warn(!contents.Adapters[i].HardwareId, "hardwareId", "cannot be listed");
        warn(!contents.Adapters[i].NetCfgInstanceId, "netCfgInstanceId", "cannot be opened");
    }
}

} // namespace

void Machine::Load(std::string_view text, std::string_view origin)
{
    Self->Load(text, origin, "");
}

void Machine::Impl::Load(std::string_view text, std::string_view origin, const std::string& folder)
try
{
    const JsonDocument document(text);
    // Everything is read before the machine changes, so an error leaves it unchanged.
    const Contents contents = ReadContents(document.Root());
    std::map<std::string, std::shared_ptr<ControlDevice>> made;
    // Drivers are created without the lock, because they are foreign code.
    for (const auto& [name, source] : contents.Devices)
        made.emplace(name, source.Make(folder));
    // Only for files: a test that loads a text describes such adapters on purpose.
    if (!folder.empty())
        WarnOfUnlisted(contents, std::string(origin));
    const ScopedLock lock(Lock);
    for (const auto& [name, source] : contents.Devices)
        if (Devices.Contains(name))
            source.Place.Fail("a device of this name is attached already");
    for (const auto& [path, values] : contents.Keys)
    {
        const RegistryKeyPtr key = Registry->FindOrCreate(path);
        for (const auto& [name, value] : values)
            key->Values.insert_or_assign(name, value);
    }
    for (const AdapterDescription& adapter : contents.Adapters)
        AdapterNodes.Add(adapter);
    for (auto& [name, device] : made)
        Attach(name, std::move(device));
}
catch (const JsonError& error)
{
    // The error of the parser contains the position; only the name of the text is missing.
    throw MachineFileError(std::string(origin) + ": " + error.what());
}

void Machine::LoadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    // A folder can be opened; only reading it fails.
    if (!file || (file.peek(), file.bad()))
        throw MachineFileError(path + ": cannot be read: " + std::strerror(errno));
    text << file.rdbuf();
    Self->Load(text.str(), path, std::filesystem::absolute(path).parent_path().string());
}

} // namespace Platform
