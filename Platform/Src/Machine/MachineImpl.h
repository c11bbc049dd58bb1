/// @file
/// What a machine consists of.
#pragma once

#include "AdapterTree.h"
#include "AnnotatedLock.h"
#include "DeviceNames.h"
#include "EventSequencer.h"
#include "FaultBoard.h"
#include "Machine.h"
#include "RegistryTree.h"

#include <atomic>

namespace Platform
{

/// Detaches a device after the machine's lock is released. Declare it before the lock, so that its destructor runs
/// after the lock's.
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

/// The state of a machine. Lock order: only the lock of the handle table is taken inside these locks.
class Machine::Impl
{
public:
    FaultBoard Faults;     // has its own lock
    EventSequencer Events; // has its own lock
    std::atomic<bool> Administrator = true;

    /// Held only for short work on the members below, never during a driver call, callback or hook.
    Mutex Lock;
    RegistryKeyPtr Registry PLATFORM_GUARDED_BY(Lock) = RegistryKey::MakeRoot(); // guarded with all keys below it
    AdapterTree AdapterNodes PLATFORM_GUARDED_BY(Lock){Registry};
    DeviceNames Devices PLATFORM_GUARDED_BY(Lock);

    /// Replaces a description and updates the control device.
    /// @return the device that became unreachable and must be detached, or null.
    [[nodiscard]] AttachedDevicePtr Change(AdapterId id, AdapterDescription description) PLATFORM_REQUIRES(Lock);
    /// @param folder is searched for modules first; empty for none. @throws MachineFileError
    void Load(std::string_view text, std::string_view origin, const std::string& folder);
    /// Returns null if no device of that name is reachable.
    AttachedDevicePtr FindDevice(std::string_view name);
    /// Attaches a device, unreachable if its adapter is absent.
    void Attach(const std::string& name, std::shared_ptr<ControlDevice> device) PLATFORM_REQUIRES(Lock);
};

} // namespace Platform
