/// @file
/// What a machine consists of.
#pragma once

#include "AdapterTree.h"
#include "DeviceNames.h"
#include "EventSequencer.h"
#include "FaultBoard.h"
#include "Machine.h"
#include "RegistryTree.h"

#include <atomic>
#include <mutex>

namespace Platform
{

/// Notifies a device that became unreachable under the machine's lock after the lock is released: declare
/// it before the lock.
class LeavingDevice
{
public:
    LeavingDevice() = default;
    ~LeavingDevice()
    {
        if (Device)
            Device->Detach();
    }
    LeavingDevice(const LeavingDevice&) = delete;
    LeavingDevice& operator=(const LeavingDevice&) = delete;

    AttachedDevicePtr Device;
};

class Machine::Impl
{
public:
    FaultBoard Faults;     // brings its own lock
    EventSequencer Events; // brings its own lock
    std::atomic<bool> Administrator = true;

    /// Held only for short work on the members below, never while anything foreign runs.
    std::mutex Lock;
    RegistryKeyPtr Registry = RegistryKey::MakeRoot(); // the pointer is constant; the keys are guarded by Lock
    AdapterTree AdapterNodes{Registry};                // guarded by Lock
    DeviceNames Devices;                               // guarded by Lock

    /// Replaces a description and updates the control device. The caller holds the lock.
    /// @return the device to notify that it became unreachable, or null.
    [[nodiscard]] AttachedDevicePtr Change(AdapterId id, AdapterDescription description);
    /// @param folder where modules are looked for first; empty for none. @throws MachineFileError
    void Load(std::string_view text, std::string_view origin, const std::string& folder);
    /// Null when there is none within reach.
    AttachedDevicePtr FindDevice(std::string_view name);
    /// Attaches a device, out of reach when its adapter is absent. Lock is held.
    void Attach(const std::string& name, std::shared_ptr<ControlDevice> device);
};

} // namespace Platform
