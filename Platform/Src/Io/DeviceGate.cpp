#include "DeviceGate.h"

#include "RequestTable.h"

#include <utility>

namespace Platform
{

ControlDevice* DeviceGate::Enter()
{
    const std::lock_guard lock(Lock);
    Visitors += Device != nullptr ? 1 : 0;
    return Device;
}

void DeviceGate::Leave()
{
    const std::lock_guard lock(Lock);
    --Visitors;
    if (Visitors == 0)
        Empty.notify_all(); // while holding the lock: the device may be destroyed right after
}

void DeviceGate::Shut()
{
    std::unique_lock lock(Lock);
    Empty.wait(lock, [this] { return Visitors == 0; });
    Device = nullptr;
}

AttachedDevice::AttachedDevice(std::shared_ptr<ControlDevice> device)
    : Device(std::move(device)), Gate(std::make_shared<DeviceGate>(*Device))
{
}

AttachedDevice::~AttachedDevice()
{
    Gate->Shut();
}

void AttachedDevice::Detach()
{
    Detached = true;
    RequestTable::Instance().Cancel([this](const Request& request) { return request.Gate == Gate; });
}

} // namespace Platform
