#include "DeviceGate.h"

#include <utility>

namespace Platform
{

ControlDevice* DeviceGate::Enter()
{
    const ScopedLock lock(Lock);
    // Counted under the lock that Shut takes, so that a visit either precedes the shutting or finds no device.
    Visitors += Device != nullptr ? 1 : 0;
    return Device;
}

void DeviceGate::Leave()
{
    const ScopedLock lock(Lock);
    --Visitors;
    if (Visitors == 0)
        Empty.NotifyAll(); // while holding the lock, because the device may be destroyed right after
}

// Waits for all visits, so it must not be called inside one, not even by a destructor.
void DeviceGate::Shut()
{
    const ScopedLock lock(Lock);
    while (Visitors != 0)
        Empty.Wait(Lock);
    Device = nullptr;
}

OpenFile::OpenFile(std::shared_ptr<DeviceGate> gate, std::uint64_t openId) : Gate(std::move(gate)), OpenId(openId) {}

OpenFile::~OpenFile()
{
    // Without effect once the gate is shut: the driver may have been destroyed by then.
    if (Opened)
        Gate->Visit([this](ControlDevice& device) { device.Close(OpenId); });
}

} // namespace Platform
