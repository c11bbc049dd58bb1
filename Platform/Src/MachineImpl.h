// What a machine consists of.
#pragma once

#include "AdapterTree.h"
#include "DeviceNames.h"
#include "FaultBoard.h"
#include "Machine.h"
#include "RegistryTree.h"

#include <mutex>

namespace Platform
{

class Machine::Impl
{
public:
    FaultBoard Faults; // brings its own lock

    /// Held only for short work on the members below, never while anything foreign runs.
    std::mutex Lock;
    RegistryKeyPtr Registry = RegistryKey::MakeRoot(); // the pointer is constant; the keys are guarded by Lock
    AdapterTree AdapterNodes{Registry};                // guarded by Lock
    DeviceNames Devices;                               // guarded by Lock

    /// @param folder where modules are looked for first; empty for none. @throws MachineFileError
    void Load(std::string_view text, std::string_view origin, const std::string& folder);
    /// Null when there is none within reach.
    AttachedDevicePtr FindDevice(std::string_view name);
    /// Attaches a device, out of reach when its adapter is absent. Lock is held.
    void Attach(const std::string& name, std::shared_ptr<ControlDevice> device);
};

} // namespace Platform
