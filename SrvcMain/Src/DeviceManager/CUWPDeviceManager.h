/// @file
/// The adapter inventory behind CDeviceManagerIntf.
#pragma once

#include "AdapterEnumeration.h"
#include "AdapterFilter.h"
#include "AdapterRecord.h"
#include "CDrvUninstallCheck.h"
#include "CModuleBase.h"
#include "CSafeList.h"
#include "CSafeMap.h"
#include "CZVNotification.h"
#include "Lock.h"
#include "NotifyHandlers.h"

#include "CDeviceManagerIntf.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Entered by host threads (the operations of CDeviceManagerIntf), by the service's notification
/// thread (PwrEvtHdlr), by its own notification threads (NotifyCallback) and by the threads of its
/// uninstall watchers (DrvUninstallHdlr).
class CUWPDeviceManager final : public CDeviceManagerIntf,
                                public CZVNotifyHandler,
                                public CZVPwrEvtHandler,
                                public CDrvUninstallNotifyHdlr,
                                public CModuleBase
{
public:
    /// Fills the filter table and starts the threads; makes no platform call.
    CUWPDeviceManager();
    /// Stops the threads.
    ~CUWPDeviceManager() override;

    unsigned int GetZVDeviceList(const _ZV_SRVC_DEVICE_LIST_REQ* request, _ZV_SRVC_DEVICE_LIST_RSP* result) override;
    unsigned int OpenDevice(const _ZV_SRVC_DEVICE_INFO* record, _ZV_SRVC_INTERFACE_TYPE type,
                            std::shared_ptr<CDeviceIntf>& device) override;
    unsigned int RegisterNotification(_ZV_WLAN_NOTIFY_HDLR* client) override;
    unsigned int DeRegisterNotification(const _ZV_WLAN_NOTIFY_HDLR* client) override;
    unsigned int NicChangeState(std::shared_ptr<CDeviceIntf>& device, std::uint8_t enable) override;

    void NotifyCallback(std::string name, const ZVBlob& blob) override;
    void PwrEvtHdlr(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) override;
    void DrvUninstallHdlr(const ZVAdapterRecord& record) override;

private:
    struct CSweep;
    /// The manager's copy of a client's record.
    struct CClient
    {
        explicit CClient(const _ZV_WLAN_NOTIFY_HDLR& record) : Record(record) {}

        const _ZV_WLAN_NOTIFY_HDLR Record;
        std::atomic<bool> IsRegistered{true};
    };
    using CClientList = CSafeList<std::shared_ptr<CClient>>;

    void StartNotifier(CZVNotification& notifier, const std::string& name);
    CClientList& ClientsOfType(std::uint32_t clientType);
    ZVBlob PostEvent(std::uint32_t event);
    void OnArrival();
    ZVAdapterRecord FindRecord(std::string_view netCfgInstanceId);

    std::string ResolveServiceFilter(const std::string& text) const;
    bool AnswerFromList(const std::string& serviceFilter, _ZV_SRVC_DEVICE_LIST_RSP& result, unsigned int& status);
    unsigned int EnumerateAndAnswer(const CAdapterFilter& filter, _ZV_SRVC_DEVICE_LIST_RSP& result);
    std::uint64_t Maintenances();
    unsigned int CopyListOut(_ZV_SRVC_DEVICE_LIST_RSP& result);

    // Maintenance of the list, on the service's thread alone. Both tell whether something changed that
    // clients have to hear of; the merge gives nothing when the list was rebuilt since `rebuilds`.
    bool CheckDeviceStatusInList(CAdapterList& list);
    std::optional<bool> MergeNewDeviceToList(CAdapterList& list, const CAdapterList& fresh, std::uint64_t rebuilds);
    void SecondPass(CSweep& sweep);
    bool IsConfirmed(const _ZV_SRVC_DEVICE_INFO& record, const std::vector<std::string>& sighted);
    bool MarkAbsent(_ZV_SRVC_DEVICE_INFO& record, bool wasSighted, std::uint64_t rebuilds);
    void WatchSuspects(const CSweep& sweep);
    bool RefreshFromSimulatedDriver(CAdapterList& list);

    // In the order of construction; destroyed from the last to the first.
    CAdapterList DeviceList; ///< Brings its own lock, which guards the links alone.
    CZVNotification UserNotifier;
    const std::string UserNotifierName = "Dev_Manager_User_Notification";
    CZVNotification ZVNotifier;
    const std::string ZVNotifierName = "Dev_Manager_ZV_Notification";
    CClientList UserClients; ///< Brings its own lock.
    CClientList ZVClients;   ///< Brings its own lock.
    std::atomic<std::uint32_t> NextClientId{0};
    /// Makes the filter and a rebuild of DeviceList one step; taken before the list's lock, and
    /// never held during an enumeration.
    CLock FilterLock;
    CAdapterFilter Filter ZV_GUARDED_BY(FilterLock); ///< What DeviceList was last enumerated for.
    /// How often hosts have rebuilt the list, and how often the service has looked through it: each
    /// side sees by the other's count that what it has read of the system meanwhile is out of date.
    std::uint64_t RebuildCount ZV_GUARDED_BY(FilterLock) = 0;
    std::uint64_t MaintenanceCount ZV_GUARDED_BY(FilterLock) = 0;
    CSafeMap FilterTable; ///< Brings its own lock; constant after construction.
    /// Watchers that run, and finished ones that nobody has disposed of yet; brings its own lock.
    CSafeList<std::shared_ptr<CDrvUninstallCheck>> UninstallChecks;
    CZVNotification UninstallNotifier;
    const std::string UninstallNotifierName = "Uninstall_Chk_Notification";
};
