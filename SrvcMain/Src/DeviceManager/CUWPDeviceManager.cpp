#include "CUWPDeviceManager.h"

#include "TracePoint.h"

#include <string_view>
#include <utility>

namespace
{

/// Filter names and the driver services that they stand for. The names tell the bus by their end: u
/// for USB, s for SDIO, e for PCIE.
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
    UserNotifier.StopNotifyThread();
    ZVNotifier.StopNotifyThread();
    UninstallNotifier.StopNotifyThread();
}

void CUWPDeviceManager::StartNotifier(CZVNotification& notifier, const std::string& name)
{
    if (!notifier.RunNotifyThread(this, name))
        ZV_TRACE(ManagerThreadFailed, name);
}

unsigned int CUWPDeviceManager::NicChangeState(std::shared_ptr<CDeviceIntf>& /*device*/, std::uint8_t /*enable*/)
{
    return ZV_SRVC_ERR_FAILURE;
}
