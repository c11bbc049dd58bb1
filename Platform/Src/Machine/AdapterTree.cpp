#include "AdapterTree.h"

#include <algorithm>
#include <utility>

namespace Platform
{

namespace
{

// The registry keys of an adapter by path, each with its values.
using KeyImage = std::map<std::string, ValueMap, NameLess>;

std::string RegistryPath(const std::u16string& driverKey)
{
    return std::string(ClassRootPath) + '\\' + ToUtf8(driverKey);
}

void PutText(ValueMap& values, const char* name, const std::optional<std::string>& text)
{
    if (text)
        values.insert_or_assign(name, RegistryValue::Text(*text));
}

ValueMap DriverKeyValues(const AdapterDescription& adapter)
{
    ValueMap values;
    PutText(values, "DriverVersion", adapter.DriverVersion);
    PutText(values, "InfSection", adapter.InfSection);
    PutText(values, "NetCfgInstanceId", adapter.NetCfgInstanceId);
    PutText(values, "DeviceInstanceID", adapter.DeviceInstanceId);
    // Last, because explicit values take precedence over the fields.
    for (const auto& [name, value] : adapter.Values)
        values.insert_or_assign(name, value);
    return values;
}

KeyImage ImageOf(const AdapterDescription& adapter)
{
    KeyImage image;
    if (!adapter.HasDriverKey || !adapter.DriverKey)
        return image;
    const std::string path = RegistryPath(*adapter.DriverKey);
    image[path] = DriverKeyValues(adapter);
    if (adapter.HasLinkage)
        image[path + "\\Linkage"] = {};
    if (adapter.HasNdi)
        PutText(image[path + "\\NDI"], "Service", adapter.Service);
    return image;
}

// Changes the values of one key that differ between two descriptions. Others may have been written by a host.
void FollowValues(RegistryKey& root, const std::string& path, const ValueMap& before, const ValueMap& after)
{
    for (const auto& [name, value] : before)
    {
        const RegistryKeyPtr key = after.contains(name) ? nullptr : root.Find(path);
        if (key)
            key->Values.erase(name);
    }
    for (const auto& [name, value] : after)
    {
        const auto old = before.find(name);
        if (old == before.end() || old->second != value)
            root.FindOrCreate(path)->Values.insert_or_assign(name, value);
    }
}

// Changes only what differs between the images, so that values written by a host stay.
void Follow(RegistryKey& root, const KeyImage& before, const KeyImage& after)
{
    for (const auto& [path, values] : before)
    {
        const RegistryKeyPtr key = after.contains(path) ? nullptr : root.Find(path);
        if (key)
            key->Delete();
    }
    for (const auto& [path, values] : after)
    {
        const auto old = before.find(path);
        if (old == before.end())
            root.FindOrCreate(path);
        FollowValues(root, path, old == before.end() ? ValueMap{} : old->second, values);
    }
}

} // namespace

AdapterTree::AdapterTree(RegistryKeyPtr root) : Root(std::move(root))
{
    const std::string path = std::string(ClassRootPath) + '\\' + std::string(NetworkClassText);
    Root->FindOrCreate(path)->Values.insert_or_assign("Class", RegistryValue::Text("Net"));
    Root->FindOrCreate("SOFTWARE");
}

std::u16string AdapterTree::FreeDriverKey() const
{
    // A description may name a key that does not exist in the registry, so both are checked.
    const auto taken = [this](const std::u16string& key) {
        return Root->Find(RegistryPath(key)) != nullptr ||
               std::ranges::any_of(Nodes, [&](const auto& node) { return node.second.Description.DriverKey == key; });
    };
    for (unsigned number = 0;; ++number)
    {
        const std::string digits = std::to_string(number);
        const std::string padding(digits.size() < 4 ? 4 - digits.size() : 0, '0');
        std::u16string key = ToUtf16(std::string(NetworkClassText) + '\\' + padding + digits);
        if (!taken(key))
            return key;
    }
}

AdapterId AdapterTree::Add(AdapterDescription adapter)
{
    if (!adapter.DriverKey && adapter.AssignDriverKey)
        adapter.DriverKey = FreeDriverKey();
    Follow(*Root, {}, ImageOf(adapter));
    Nodes.emplace(++LastId, AdapterNode{std::move(adapter), 0});
    return LastId;
}

void AdapterTree::Change(AdapterId id, AdapterDescription description)
{
    AdapterNode& node = Nodes.at(id);
    if (node.Uninstalled && description.Present)
    {
        // Windows installs a driver again for hardware that returns, under the next free key.
        node.Uninstalled = false;
        // A description that names a key keeps it.
        if (!description.DriverKey)
            description.DriverKey = FreeDriverKey();
    }
    Follow(*Root, ImageOf(node.Description), ImageOf(description));
    node.Description = std::move(description);
    // Lets ChangeAdapter detect a change by another thread.
    ++node.Version;
}

void AdapterTree::Remove(AdapterId id)
{
    Follow(*Root, ImageOf(Nodes.at(id).Description), {});
    Nodes.erase(id);
}

// Without its driver key the adapter has no registry image; its other properties stay for its return.
void AdapterTree::Uninstall(AdapterId id)
{
    AdapterNode& node = Nodes.at(id);
    // If the adapter is present, it has returned during the messages of its removal, and its driver stays.
    if (!node.Description.Present)
    {
        AdapterDescription description = node.Description;
        description.DriverKey.reset();
        Change(id, std::move(description));
        node.Uninstalled = true;
    }
}

void AdapterTree::Restore(AdapterId id, const AdapterNode& node)
{
    AdapterNode& own = Nodes[id];
    const std::uint64_t version = own.Version + 1;
    own = node;
    own.Version = version;
    LastId = std::max(LastId, id);
}

const AdapterNode* AdapterTree::Find(AdapterId id) const
{
    const auto found = Nodes.find(id);
    return found == Nodes.end() ? nullptr : &found->second;
}

} // namespace Platform
