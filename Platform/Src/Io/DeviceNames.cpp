#include "DeviceNames.h"

#include <utility>

namespace Platform
{

void DeviceNames::Add(const std::string& name, std::shared_ptr<ControlDevice> device, bool present)
{
    AttachedDevicePtr current = present ? std::make_shared<AttachedDevice>(device) : nullptr;
    Entries.emplace(name, Entry{std::move(device), std::move(current)});
}

DeviceNames::Entry DeviceNames::Remove(std::string_view name)
{
    const auto found = Entries.find(name);
    if (found == Entries.end())
        return {};
    Entry entry = std::move(found->second);
    Entries.erase(found);
    return entry;
}

AttachedDevicePtr DeviceNames::SetPresent(std::string_view name, bool present)
{
    const auto found = Entries.find(name);
    if (found == Entries.end() || present == (found->second.Current != nullptr))
        return nullptr;
    Entry& entry = found->second;
    return std::exchange(entry.Current, present ? std::make_shared<AttachedDevice>(entry.Device) : nullptr);
}

AttachedDevicePtr DeviceNames::Find(std::string_view name) const
{
    const auto found = Entries.find(name);
    return found == Entries.end() ? nullptr : found->second.Current;
}

} // namespace Platform
