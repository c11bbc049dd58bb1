/// @file
/// Handles on device sets, for the calls on devices and the class installer.
#pragma once

#include "DeviceSetup.h"
#include "HandleTable.h"
#include "MachineImpl.h"

#include <algorithm>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace Platform
{

inline constexpr GUID NetworkClass = {0x4D36E972, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

/// A snapshot of devices. It keeps its machine alive.
class DeviceSet final : public HandleObject
{
public:
    static constexpr HandleKind Kind = HandleKind::DeviceSet;

    /// @param devices in the order of their ids.
    DeviceSet(std::shared_ptr<Machine> owner, std::vector<AdapterId> devices)
        : Owner(std::move(owner)), Data(Owner->Internal()), Devices(std::move(devices))
    {
    }
    HandleKind KindOf() const override { return Kind; }

    /// Checks the size of the record and whether its device is in this set.
    bool Holds(const SP_DEVINFO_DATA* device) const
    {
        return device != nullptr && device->cbSize == sizeof(SP_DEVINFO_DATA) &&
               std::ranges::binary_search(Devices, device->DevInst);
    }

    const std::shared_ptr<Machine> Owner;
    Machine::Impl& Data;                  // of the owner
    const std::vector<AdapterId> Devices; // sorted
    std::map<AdapterId, SP_PROPCHANGE_PARAMS> InstallParameters PLATFORM_GUARDED_BY(Data.Lock);
};

} // namespace Platform
