/// @file
/// What a machine consists of.
#pragma once

#include "AdapterTree.h"
#include "AnnotatedLock.h"
#include "ChangeLog.h"
#include "DeviceNames.h"
#include "EventSequencer.h"
#include "FaultBoard.h"
#include "ForeignCallGate.h"
#include "Machine.h"
#include "MachineLink.h"
#include "MachineState.h"
#include "RegistryTree.h"

#include <atomic>
#include <functional>

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

/// The state of a machine. Lock order: only the locks of the handle table and of the log are taken inside these locks.
class Machine::Impl
{
public:
    FaultBoard Faults;     // has its own lock
    EventSequencer Events; // has its own lock
    ChangeLog Log;         // has its own lock; changes of the members below are recorded while Lock is held
    std::atomic<bool> Administrator = true;
    /// Null unless the process has joined a shared machine, which is then changed only by its log. Constant once the
    /// machine is used.
    std::shared_ptr<MachineLink> Link;
    /// Held while a driver is configured, so that the log has the order in which the driver received its settings.
    ForeignCallGate ConfigureGate;

    /// Held only for short work on the members below, never during a driver call, callback or hook.
    Mutex Lock;
    RegistryKeyPtr Registry PLATFORM_GUARDED_BY(Lock) = RegistryKey::MakeRoot(); // guarded with all keys below it
    AdapterTree AdapterNodes PLATFORM_GUARDED_BY(Lock){Registry};
    DeviceNames Devices PLATFORM_GUARDED_BY(Lock);

    /// The following functions change and record.
    AdapterId Add(const AdapterDescription& adapter) PLATFORM_REQUIRES(Lock);
    void SetValue(RegistryKey& key, const std::string& path, const std::string& name, const RegistryValue& value)
        PLATFORM_REQUIRES(Lock);

    /// Replaces a description and updates the control device.
    /// @return the device that became unreachable and must be detached, or null.
    [[nodiscard]] AttachedDevicePtr Change(AdapterId id, AdapterDescription description) PLATFORM_REQUIRES(Lock);
    /// @param folder is searched for modules first; empty for none. @throws MachineFileError
    void Load(std::string_view text, std::string_view origin, const std::string& folder);
    /// Returns null if no device of that name is reachable.
    AttachedDevicePtr FindDevice(std::string_view name);
    /// Attaches a device, unreachable if its adapter is absent. A device that a module made has a source.
    void Attach(const std::string& name, std::shared_ptr<ControlDevice> device, const DeviceSource& source = {})
        PLATFORM_REQUIRES(Lock);
    void Broadcast(std::uint32_t message, std::uint64_t wParam);
    /// Changes the state of a driver because of a request to it. See IoRequest::ShareState.
    void ShareState(ControlDevice& device, const std::string& settings, std::function<void(std::uint32_t)> done);
    /// Returns whether ShareState has anything to do.
    bool SharesState() const { return IsJoined() || Log.HasListeners(); }

    /// Records a change that does not change the members above, at its place among those that do.
    template <class Make>
    void Record(Make make)
    {
        const ScopedLock lock(Lock);
        Log.Record(make);
    }

    bool IsJoined() const { return Link != nullptr; }
    /// Has the server of a shared machine make the change. @throws MachineServerError; std::out_of_range for an
    /// adapter that has been removed.
    LinkAnswer Forward(const MachineRequest& request);

    /// Copies the whole machine. Calls drivers: hold no lock.
    MachineState Capture();
    /// Work that follows a change without a lock: it sends messages and detaches devices. Empty for none.
    using Aftermath = std::function<void()>;
    /// Makes a change of the log of a shared machine. One thread at a time.
    Aftermath Apply(const MachineChange& change);
    /// Makes the machine equal to the copy, with the messages of the differences. One thread at a time, like Apply.
    Aftermath Restore(const MachineState& state);
};

} // namespace Platform
