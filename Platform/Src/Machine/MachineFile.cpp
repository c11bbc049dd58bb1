// Reads a machine file: adapters and registry values from JSON, or an error with its position.
#include "AdapterJson.h"
#include "DriverModule.h"
#include "JoinedMachine.h"
#include "JsonNode.h"
#include "Machine.h"
#include "MachineImpl.h"
#include "Text.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

namespace Platform
{

namespace
{

/// The driver that creates an adapter's control device.
struct DescribedDevice
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
    std::map<std::string, DescribedDevice, NameLess> Devices;
    std::map<std::string, ValueMap> Keys;
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
    contents.Devices.emplace(name, DescribedDevice{node, name, node.Member("module").Text(), settings});
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
        if (!ReadAdapterField(name, value, adapter))
            value.Fail("unknown key");
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
                [&](const std::string& path, const JsonNode& values) { ReadValues(values, contents.Keys[path]); });
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
            SetValue(*key, path, name, value);
    }
    for (const AdapterDescription& adapter : contents.Adapters)
        Add(adapter);
    for (auto& [name, device] : made)
    {
        const DescribedDevice& source = contents.Devices.at(name);
        Attach(name, std::move(device), {ModulePath(folder, source.Module), source.Settings});
    }
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

std::shared_ptr<Machine> OpenMachine(const std::string& source)
{
    constexpr std::string_view server = "unix:";
    if (source.starts_with(server))
        return JoinMachine(source.substr(server.size()));
    auto machine = std::make_shared<Machine>();
    machine->LoadFile(source);
    return machine;
}

} // namespace Platform
