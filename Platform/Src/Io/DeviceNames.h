/// @file
/// The control devices of one machine by name.
#pragma once

#include "DeviceGate.h"
#include "Text.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace Platform
{

/// A device for as long as it is reachable under its name or open handles refer to it. A device that is attached
/// again gets a new object, so that handles opened before stay without a device.
class AttachedDevice
{
public:
    AttachedDevice(const std::string& name, std::shared_ptr<ControlDevice> device);
    ~AttachedDevice();
    AttachedDevice(const AttachedDevice&) = delete;
    AttachedDevice& operator=(const AttachedDevice&) = delete;

    /// Refuses new requests and asks for the cancellation of those in flight. Calls the device: hold no lock.
    void Detach();
    bool IsDetached() const { return Detached; }

    const std::shared_ptr<ControlDevice> Device;
    const std::shared_ptr<DeviceGate> Gate;

private:
    std::atomic<bool> Detached = false;
};
using AttachedDevicePtr = std::shared_ptr<AttachedDevice>;

/// Returns the device that an open on the current machine would reach, or null. The machine implements this
/// (CurrentMachine.cpp), because it includes this header.
AttachedDevicePtr FindDevice(std::string_view name);

/// A request that has completed.
struct CompletedRequest
{
    const std::string& Device;
    std::uint32_t Code;
    std::span<const std::uint8_t> Input;
    std::span<const std::uint8_t> Output;
    std::uint32_t OutputRoom;
    std::uint32_t Error;
    std::int64_t StartNs; ///< On the monotonic clock.
    std::uint32_t ThreadId;
};

/// Set while a journal is written. A flag, so that requests cost nothing otherwise.
inline constinit std::atomic<bool> RequestsAreRecorded{false};
/// Passes a request to the log of the current machine; implemented next to FindDevice. Out of memory, it is left out.
void RecordRequest(const CompletedRequest& request) noexcept;

/// What IoRequest declares, for the current machine; implemented next to FindDevice.
bool SharesState();
void ShareState(ControlDevice& device, const std::string& settings, std::function<void(std::uint32_t)> done);

/// Which module made a device, and from which settings; empty for a device that the program itself made.
struct DeviceSource
{
    std::string Module = {};
    std::string Settings = {}; ///< JSON.
};

/// Guarded by the machine's lock. The caller must detach a returned device after it has released that lock,
/// because Detach calls the driver.
class DeviceNames
{
public:
    struct Entry
    {
        std::shared_ptr<ControlDevice> Device;
        AttachedDevicePtr Current; ///< Null while unreachable.
        DeviceSource Source = {};
    };

    bool Contains(std::string_view name) const { return Entries.contains(name); }
    /// The name must be free.
    void Add(const std::string& name, std::shared_ptr<ControlDevice> device, bool present, DeviceSource source);
    /// Returns an empty entry if there is none of that name.
    [[nodiscard]] Entry Remove(std::string_view name);
    /// Makes a device reachable or unreachable. @return the device that became unreachable, or null.
    [[nodiscard]] AttachedDevicePtr SetPresent(std::string_view name, bool present);
    /// Returns null if no device of that name is reachable.
    AttachedDevicePtr Find(std::string_view name) const;
    const std::map<std::string, Entry, NameLess>& All() const { return Entries; }

private:
    std::map<std::string, Entry, NameLess> Entries;
};

} // namespace Platform
