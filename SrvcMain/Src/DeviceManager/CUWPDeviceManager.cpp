#include "CUWPDeviceManager.h"

#include "TracePoint.h"

#include <string_view>
#include <utility>

namespace
{

/// Filter names and the driver services that they select. The last letter of a name is the bus: u for
/// USB, s for SDIO, e for PCIE.
constexpr std::pair<std::string_view, std::string_view> FilterRows[] = {
    {"ZV_ALL", "zvlwlanu,zvwlanu,zvlwlans,zvwlans,zvlwlane,zvwlane"},
    {"ZV_USB", "zvlwlanu,zvwlanu"},
    {"ZV_SDIO", "zvlwlans,zvwlans"},
    {"ZV_PCIE", "zvlwlane,zvwlane"},
};

} // namespace

CUWPDeviceManager::CUWPDeviceManager()
{
    for (const auto& [name, services] : FilterRows)
        FilterTable.Insert(std::string(name), std::string(services));
    StartNotifier(UserNotifier, UserNotifierName);
    StartNotifier(ZVNotifier, ZVNotifierName);
    StartNotifier(UninstallNotifier, UninstallNotifierName);
}

CUWPDeviceManager::~CUWPDeviceManager()
{
    // A client callback may hold the last reference when the process exits. The thread that it runs
    // on cannot be joined then; it is detached.
    for (CZVNotification* notifier : {&UserNotifier, &ZVNotifier, &UninstallNotifier})
        if (!notifier->IsOwnThread())
            notifier->StopNotifyThread();
    // Watchers that still run are waited for while all that they use is there.
    UninstallChecks.Clear();
}

void CUWPDeviceManager::StartNotifier(CZVNotification& notifier, const std::string& name)
{
    if (!notifier.RunNotifyThread(this, name))
        ZV_TRACE(ManagerThreadFailed, name);
}

/// The record stays in the list: devices bound to it detect by its other flags that it is unusable.
void CUWPDeviceManager::DrvUninstallHdlr(const ZVAdapterRecord& record)
{
    SetStateFlags(*record, ZV_DEV_DRIVER_UNINSTALLED);
    ZV_TRACE(DriverUninstalled, record->NetCfgInstanceId);
    PostEvent(ZV_EVT_DRIVER_UNINSTALLED);
}
