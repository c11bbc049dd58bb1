#include "CUWPDeviceManager.h"

#include "OSPlatform.h"
#include "TracePoint.h"

#include "CreateZVModule.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace
{

enum class Reaction
{
    ReportSuspend,
    ReportResume,
    Merge,
    Sweep
};

struct CRoute
{
    std::uint32_t Message;
    std::uint64_t WParam;
    Reaction Action;
};

/// Messages without a row are ignored, including a failed query to remove (0x8002) and an unspecific change
/// of the device tree (7). Each message is handled separately: a resume that Windows announces twice
/// produces two events.
constexpr CRoute Routes[] = {
    {WM_POWERBROADCAST, PBT_APMQUERYSUSPEND, Reaction::ReportSuspend},
    {WM_POWERBROADCAST, PBT_APMQUERYSTANDBY, Reaction::ReportSuspend},
    {WM_POWERBROADCAST, PBT_APMSUSPEND, Reaction::ReportSuspend},
    {WM_POWERBROADCAST, PBT_APMSTANDBY, Reaction::ReportSuspend},
    {WM_POWERBROADCAST, PBT_APMRESUMECRITICAL, Reaction::ReportResume},
    {WM_POWERBROADCAST, PBT_APMRESUMESUSPEND, Reaction::ReportResume},
    {WM_POWERBROADCAST, PBT_APMRESUMESTANDBY, Reaction::ReportResume},
    {WM_POWERBROADCAST, PBT_APMRESUMEAUTOMATIC, Reaction::ReportResume},
    {WM_DEVICECHANGE, DBT_DEVICEARRIVAL, Reaction::Merge},
    {WM_DEVICECHANGE, DBT_DEVICEQUERYREMOVE, Reaction::Sweep},
    {WM_DEVICECHANGE, DBT_DEVICEREMOVEPENDING, Reaction::Sweep},
    {WM_DEVICECHANGE, DBT_DEVICEREMOVECOMPLETE, Reaction::Sweep},
};

} // namespace

CUWPDeviceManager::~CUWPDeviceManager()
{
    // The clients first: a watcher that still runs then reports to nobody.
    Clients.Stop();
    Maintenance.Stop();
}

unsigned int CUWPDeviceManager::GetZVDeviceList(const _ZV_SRVC_DEVICE_LIST_REQ* request,
                                                _ZV_SRVC_DEVICE_LIST_RSP* result)
{
    return List.AnswerRequest(request, result);
}

unsigned int CUWPDeviceManager::OpenDevice(const _ZV_SRVC_DEVICE_INFO* record, _ZV_SRVC_INTERFACE_TYPE type,
                                           std::shared_ptr<CDeviceIntf>& device)
{
    if (record == nullptr)
        return ZV_SRVC_ERR_NO_DEVICE;
    ZVAdapterRecord listed = List.Find(FieldText(record->NetCfgInstanceId));
    if (listed == nullptr)
        return ZV_SRVC_ERR_NO_DEVICE;
    std::shared_ptr<CDeviceIntf> created;
    if (const unsigned int status = CreateZVModule(created, type); status != ZV_SRVC_SUCCESS)
        return status;
    const unsigned int status = created->Open(listed);
    // Handed out whatever the status, but not when one of the calls above throws.
    device = std::move(created);
    return status;
}

unsigned int CUWPDeviceManager::RegisterNotification(_ZV_WLAN_NOTIFY_HDLR* client)
{
    return Clients.Register(client);
}

unsigned int CUWPDeviceManager::DeRegisterNotification(const _ZV_WLAN_NOTIFY_HDLR* client)
{
    return Clients.Deregister(client);
}

void CUWPDeviceManager::PwrEvtHdlr(std::uint32_t message, std::uint64_t wParam, std::int64_t /*lParam*/)
{
    // On any message, not only the one that RequestRepeat queues: queueing may have failed for lack of
    // memory. A repeat that this message causes waits for the next one, so that other messages are
    // handled in between.
    const std::uint32_t repeats = List.TakeRepeats();
    Route(message, wParam);
    if ((repeats & ZV_REPEAT_MERGE) != 0)
        Maintenance.OnArrival();
    if ((repeats & ZV_REPEAT_SWEEP) != 0)
        Maintenance.OnRemoval();
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
    case Reaction::ReportSuspend:
        Clients.Post(ZV_EVT_SYSTEM_SUSPEND);
        break;
    case Reaction::ReportResume:
        Clients.Post(ZV_EVT_SYSTEM_RESUME);
        break;
    case Reaction::Merge:
        Maintenance.OnArrival();
        break;
    case Reaction::Sweep:
        Maintenance.OnRemoval();
        break;
    }
}
