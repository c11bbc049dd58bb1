/// @file
/// The control devices of one machine by name.
#pragma once

#include "DeviceGate.h"
#include "Text.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace Platform
{

using AttachedDevicePtr = std::shared_ptr<AttachedDevice>;

/// Guarded by the machine's lock. What is given back from here is to be detached when the lock is free,
/// since that calls the device.
class DeviceNames
{
public:
    struct Entry
    {
        std::shared_ptr<ControlDevice> Device;
        AttachedDevicePtr Current; ///< Null while out of reach.
    };

    bool Contains(std::string_view name) const { return Entries.contains(name); }
    /// The name must be free.
    void Add(const std::string& name, std::shared_ptr<ControlDevice> device, bool present);
    /// Empty when there was none.
    [[nodiscard]] Entry Remove(std::string_view name);
    /// Makes a device reachable or unreachable. @return the device that became unreachable, or null.
    [[nodiscard]] AttachedDevicePtr SetPresent(std::string_view name, bool present);
    /// Null when there is none within reach.
    AttachedDevicePtr Find(std::string_view name) const;

private:
    std::map<std::string, Entry, NameLess> Entries;
};

} // namespace Platform
