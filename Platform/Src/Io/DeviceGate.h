/// @file
/// The path from requests to their device. It does not keep the device alive.
#pragma once

#include "ControlDevice.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <new>

namespace Platform
{

/// A driver's own thread may end the last request of a handle. Did requests keep their device, that
/// thread could be the one that destroys the driver, and would wait for itself. Thread-safe.
class DeviceGate
{
public:
    explicit DeviceGate(ControlDevice& device) : Device(&device) {}

    /// Calls the device without holding a lock, unless the gate is shut.
    /// @return false when the device ran out of memory. Cleanup and Close cannot report that.
    template <class Call>
    bool Visit(Call call)
    {
        ControlDevice* const device = Enter();
        if (device == nullptr)
            return true;
        bool done = true;
        try
        {
            call(*device);
        }
        catch (const std::bad_alloc&)
        {
            done = false;
        }
        Leave();
        return done;
    }

    /// Waits until all visits have ended; there are none afterwards.
    void Shut();

private:
    ControlDevice* Enter();
    void Leave();

    std::mutex Lock;
    std::condition_variable Empty;
    // Both guarded by Lock.
    ControlDevice* Device; // null when shut
    std::size_t Visitors = 0;
};

/// A device as long as it can be reached under its name, and as long as handles on it are open. It is
/// attached again as another one: handles from before stay without a device.
class AttachedDevice
{
public:
    explicit AttachedDevice(std::shared_ptr<ControlDevice> device);
    ~AttachedDevice();
    AttachedDevice(const AttachedDevice&) = delete;
    AttachedDevice& operator=(const AttachedDevice&) = delete;

    /// Lets no new request through and asks for the cancellation of all that are in flight.
    void Detach();
    bool IsDetached() const { return Detached; }

    const std::shared_ptr<ControlDevice> Device;
    const std::shared_ptr<DeviceGate> Gate;

private:
    std::atomic<bool> Detached = false;
};

} // namespace Platform
