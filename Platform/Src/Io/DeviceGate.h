/// @file
/// The path from open files and requests to their device. It does not keep the device alive.
#pragma once

#include "AnnotatedLock.h"
#include "ControlDevice.h"
#include "Waitable.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace Platform
{

/// A driver's thread may complete the last request of a handle. If requests kept their device alive, that thread
/// could be the one that destroys the driver, and would wait for itself. Thread-safe.
class DeviceGate
{
public:
    DeviceGate(ControlDevice& device, std::string name) : Name(std::move(name)), Device(&device) {}

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

    /// Blocks until all visits have ended. No visit reaches the device afterwards.
    void Shut();

    const std::string Name; ///< Under which the device was attached.

private:
    ControlDevice* Enter();
    void Leave();

    Mutex Lock;
    Condition Empty;
    ControlDevice* Device PLATFORM_GUARDED_BY(Lock); // null once shut
    std::size_t Visitors PLATFORM_GUARDED_BY(Lock) = 0;
};

/// What a file handle and its requests in flight share. Notifies the device of the close when the last of them is
/// released, as a Windows driver is closed only after its requests have completed.
class OpenFile
{
public:
    OpenFile(std::shared_ptr<DeviceGate> gate, std::uint64_t openId);
    ~OpenFile();
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    const std::shared_ptr<DeviceGate> Gate;
    const std::uint64_t OpenId;
    /// Signalled when a request without an event has completed.
    const std::shared_ptr<Waitable> Done = std::make_shared<Waitable>(true, false);
    std::atomic<bool> Closed = false;
    std::atomic<bool> Opened = false; ///< The device accepted the open; a refused one receives no Close.
};

} // namespace Platform
