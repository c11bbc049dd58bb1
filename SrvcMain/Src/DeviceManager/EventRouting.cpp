/// From window messages to events.

#include "CUWPDeviceManager.h"
#include "OSPlatform.h"
#include "TracePoint.h"

#include <algorithm>
#include <iterator>
#include <new>

namespace
{

enum class CAction
{
    Suspend,
    Resume,
    Arrival,
    Removal
};

struct CRoute
{
    std::uint32_t Message;
    std::uint64_t WParam;
    CAction Action;
};

/// Messages without a row are ignored, including a failed query to remove (0x8002) and an unspecific change
/// of the device tree (7). Each message is handled separately: a resume that Windows announces twice
/// produces two events.
constexpr CRoute Routes[] = {
    {WM_POWERBROADCAST, PBT_APMQUERYSUSPEND, CAction::Suspend},
    {WM_POWERBROADCAST, PBT_APMQUERYSTANDBY, CAction::Suspend},
    {WM_POWERBROADCAST, PBT_APMSUSPEND, CAction::Suspend},
    {WM_POWERBROADCAST, PBT_APMSTANDBY, CAction::Suspend},
    {WM_POWERBROADCAST, PBT_APMRESUMECRITICAL, CAction::Resume},
    {WM_POWERBROADCAST, PBT_APMRESUMESUSPEND, CAction::Resume},
    {WM_POWERBROADCAST, PBT_APMRESUMESTANDBY, CAction::Resume},
    {WM_POWERBROADCAST, PBT_APMRESUMEAUTOMATIC, CAction::Resume},
    {WM_DEVICECHANGE, DBT_DEVICEARRIVAL, CAction::Arrival},
    {WM_DEVICECHANGE, DBT_DEVICEQUERYREMOVE, CAction::Removal},
    {WM_DEVICECHANGE, DBT_DEVICEREMOVEPENDING, CAction::Removal},
    {WM_DEVICECHANGE, DBT_DEVICEREMOVECOMPLETE, CAction::Removal},
};

} // namespace

void CUWPDeviceManager::PwrEvtHdlr(std::uint32_t message, std::uint64_t wParam, std::int64_t /*lParam*/)
{
    // On any message, not only the one that LookAgain queues: queueing may have failed for lack of memory.
    // Work that this message causes waits for the next message, so that others are handled in between.
    const std::uint32_t again = Again.exchange(0);
    Route(message, wParam);
    if ((again & ZV_AGAIN_MERGE) != 0)
        OnArrival();
    if ((again & ZV_AGAIN_SWEEP) != 0)
        OnRemoval();
}

void CUWPDeviceManager::Route(std::uint32_t message, std::uint64_t wParam)
{
    const auto* const route =
        std::ranges::find_if(Routes, [&](const CRoute& row) { return row.Message == message && row.WParam == wParam; });
    if (route == std::end(Routes))
        return;
    const auto parameter = static_cast<std::uint32_t>(wParam);
    ZV_TRACE(MessageRouted, message, parameter);
    switch (route->Action)
    {
    case CAction::Suspend:
        PostEvent(ZV_EVT_SYSTEM_SUSPEND);
        break;
    case CAction::Resume:
        PostEvent(ZV_EVT_SYSTEM_RESUME);
        break;
    case CAction::Arrival:
        OnArrival();
        break;
    case CAction::Removal:
        OnRemoval();
        break;
    }
}

void CUWPDeviceManager::OnArrival()
{
    if (MergeNewDeviceToList())
        UninstallNotifier.SendNorification(PostEvent(ZV_EVT_DEVICE_ARRIVED));
}

void CUWPDeviceManager::OnRemoval()
{
    if (CheckDeviceStatusInList())
        PostEvent(ZV_EVT_DEVICE_STATUS_CHANGED);
}

/// Has the service's thread repeat actions, after its current message. Any thread.
void CUWPDeviceManager::LookAgain(std::uint32_t actions)
{
    if (actions == 0)
        return;
    Again |= actions;
    try
    {
        WakePwrEvtHandlers();
    }
    catch (const std::bad_alloc&)
    {
        return; // The list is in place; the next message of any kind has the actions carried out.
    }
}

/// One blob for all queues; each queue's thread delivers to its own clients.
ZVBlob CUWPDeviceManager::PostEvent(std::uint32_t event)
{
    ZVBlob blob = MakeEventBlob(event);
    UserNotifier.SendNorification(blob);
    ZVNotifier.SendNorification(blob);
    return blob;
}
