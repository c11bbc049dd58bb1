/// From window messages to events.

#include "CUWPDeviceManager.h"

namespace
{

constexpr std::uint32_t WmPowerBroadcast = 0x218;

/// The event that a power message stands for, or 0.
std::uint32_t PowerEvent(std::uint64_t wParam)
{
    switch (wParam)
    {
    case 0: // PBT_APMQUERYSUSPEND
    case 1: // PBT_APMQUERYSTANDBY
    case 4: // PBT_APMSUSPEND
    case 5: // PBT_APMSTANDBY
        return ZV_EVT_SYSTEM_SUSPEND;
    case 6:  // PBT_APMRESUMECRITICAL
    case 7:  // PBT_APMRESUMESUSPEND
    case 8:  // PBT_APMRESUMESTANDBY
    case 18: // PBT_APMRESUMEAUTOMATIC
        return ZV_EVT_SYSTEM_RESUME;
    default:
        return 0;
    }
}

} // namespace

void CUWPDeviceManager::PwrEvtHdlr(std::uint32_t message, std::uint64_t wParam, std::int64_t /*lParam*/)
{
    if (message != WmPowerBroadcast)
        return;
    if (const std::uint32_t event = PowerEvent(wParam); event != 0)
        PostEvent(event);
}

/// One blob for both queues; each queue's thread delivers to its own clients.
void CUWPDeviceManager::PostEvent(std::uint32_t event)
{
    const ZVBlob blob = MakeEventBlob(event);
    UserNotifier.SendNorification(blob);
    ZVNotifier.SendNorification(blob);
}
