// Reads a machine file: adapters and registry values from JSON, or an error with its position.
#include "DriverModule.h"
#include "FileNode.h"
#include "Machine.h"
#include "MachineImpl.h"
#include "Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <utility>
#include <variant>

namespace Platform
{

namespace
{

using nlohmann::json;

using Field =
    std::variant<std::optional<std::string> AdapterDescription::*, std::optional<std::u16string> AdapterDescription::*,
                 bool AdapterDescription::*, std::uint32_t AdapterDescription::*,
                 std::map<std::string, RegistryValue> AdapterDescription::*>;

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

/// The driver that creates an adapter's control device.
struct DeviceSource
{
    FileNode Place;
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

struct Contents
{
    std::vector<AdapterDescription> Adapters;
    std::map<std::string, DeviceSource, NameLess> Devices;
    std::map<std::string, std::map<std::string, RegistryValue>> Keys;
};

/// @return the name of the device.
std::string ReadControlDevice(const FileNode& node, Contents& contents)
{
    node.AllowMembers({"name", "module", "settings"});
    const FileNode nameNode = node.Member("name");
    const std::string name = nameNode.Text();
    if (name.empty() || contents.Devices.contains(name))
        nameNode.Fail("expected a name that no other device has");
    const std::string settings = node.HasMember("settings") ? node.Member("settings").Json() : "{}";
    contents.Devices.emplace(name, DeviceSource{node, name, node.Member("module").Text(), settings});
    return name;
}

AdapterDescription ReadAdapter(const FileNode& node, Contents& contents)
{
    AdapterDescription adapter;
    node.ForMembers([&](const std::string& name, const FileNode& value) {
        if (name == "controlDevice")
        {
            adapter.ControlDeviceName = ReadControlDevice(value, contents);
            return;
        }
        const auto field = std::ranges::find(AdapterFields, name, [](const auto& entry) { return entry.first; });
        if (field == AdapterFields.end())
            value.Fail("unknown key");
        std::visit([&](auto member) { value.Read(adapter.*member); }, field->second);
    });
    return adapter;
}

/// Adapters are identified by this text, compared exactly. Absent adapters count, because they may return.
void RequireOwnIdentity(const FileNode& node, const AdapterDescription& adapter, const Contents& contents)
{
    const auto& identity = adapter.NetCfgInstanceId;
    const bool taken = identity && std::ranges::any_of(contents.Adapters, [&](const AdapterDescription& other) {
                           return other.NetCfgInstanceId == identity;
                       });
    if (taken)
        node.Member("netCfgInstanceId").Fail("another adapter has this identity");
}

Contents ReadContents(const FileNode& root)
{
    Contents contents;
    root.ForMembers([&](const std::string& name, const FileNode& section) {
        if (name == "adapters")
        {
            section.ForElements([&](const FileNode& node) {
                AdapterDescription adapter = ReadAdapter(node, contents);
                RequireOwnIdentity(node, adapter, contents);
                contents.Adapters.push_back(std::move(adapter));
            });
        }
        else if (name == "registry")
        {
            section.ForMembers(
                [&](const std::string& path, const FileNode& values) { values.Read(contents.Keys[path]); });
        }
        else
        {
            section.Fail("unknown key");
        }
    });
    return contents;
}

/// Watches over what the parser itself lets through: depth, which the stack bounds wherever a document is
/// written out or destroyed, and keys that occur twice, the first of which it would drop silently.
class DocumentRules
{
public:
    explicit DocumentRules(std::string_view origin) : Origin(origin) {}

    bool operator()(int depth, json::parse_event_t event, const json& value)
    {
        using Event = json::parse_event_t;
        if (depth > DeepestNesting)
            throw MachineFileError(Origin + ": nested deeper than " + std::to_string(DeepestNesting) + " levels");
        if (event == Event::object_start)
        {
            Keys.emplace_back();
        }
        else if (event == Event::object_end)
        {
            Keys.pop_back();
        }
        else if (event == Event::key && !Keys.back().insert(value.get<std::string>()).second)
        {
            throw MachineFileError(Origin + ": the key \"" + value.get<std::string>() +
                                   "\" occurs twice in one object");
        }
        return true;
    }

private:
    static constexpr int DeepestNesting = 64;

    const std::string Origin;
    std::vector<std::set<std::string>> Keys; // of the objects that are open, outermost first
};

json Parse(std::string_view text, std::string_view origin)
{
    try
    {
        DocumentRules rules{origin};
        return json::parse(text, std::ref(rules));
    }
    catch (const json::exception& error)
    {
        // Without the parser's own number in brackets; line and column follow it.
        const std::string_view message = error.what();
        throw MachineFileError(std::string(origin) + ": " + std::string(message.substr(message.find("] ") + 2)));
    }
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
{
    const json document = Parse(text, origin);
    // Everything is parsed before the machine changes, so an error leaves it unchanged.
    const Contents contents = ReadContents(FileNode(document, std::string(origin), ""));
    std::map<std::string, std::shared_ptr<ControlDevice>> made;
    for (const auto& [name, source] : contents.Devices)
        made.emplace(name, source.Make(folder));
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

void Machine::LoadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    // A folder opens well and fails only when it is read.
    if (!file || (file.peek(), file.bad()))
        throw MachineFileError(path + ": cannot be read: " + std::strerror(errno));
    text << file.rdbuf();
    Self->Load(text.str(), path, std::filesystem::absolute(path).parent_path().string());
}

} // namespace Platform
