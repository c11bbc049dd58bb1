#include "DeviceNames.h"

#include "RequestTable.h"

#include <utility>

namespace Platform
{

AttachedDevice::AttachedDevice(const std::string& name, std::shared_ptr<ControlDevice> device)
    : Device(std::move(device)), Gate(std::make_shared<DeviceGate>(*Device, name))
{
}

AttachedDevice::~AttachedDevice()
{
    Gate->Shut(); // first: after this the driver may be destroyed
}

void AttachedDevice::Detach()
{
    // Before the cancellation, so that a request that starts meanwhile is either refused or in the table.
    Detached = true;
    RequestTable::Instance().Cancel([this](const Request& request) { return request.Gate == Gate; });
}

void DeviceNames::Add(const std::string& name, std::shared_ptr<ControlDevice> device, bool present, DeviceSource source)
{
    AttachedDevicePtr current = present ? std::make_shared<AttachedDevice>(name, device) : nullptr;
    Entries.emplace(name, Entry{std::move(device), std::move(current), std::move(source)});
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

// A new object for each arrival, so that handles from before the removal stay without a device.
AttachedDevicePtr DeviceNames::SetPresent(std::string_view name, bool present)
{
    const auto found = Entries.find(name);
    // An adapter may name a device that is attached later.
    if (found == Entries.end() || present == (found->second.Current != nullptr))
        return nullptr;
    Entry& entry = found->second;
    return std::exchange(entry.Current,
                         present ? std::make_shared<AttachedDevice>(found->first, entry.Device) : nullptr);
}

AttachedDevicePtr DeviceNames::Find(std::string_view name) const
{
    const auto found = Entries.find(name);
    return found == Entries.end() ? nullptr : found->second.Current;
}

} // namespace Platform
