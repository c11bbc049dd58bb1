/// @file
/// The adapter list that implements CDeviceManagerIntf.
#pragma once

#include "AdapterEnumeration.h"
#include "AdapterFilter.h"
#include "AdapterList.h"
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
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

/// How often a listing, a sweep or a merge reads the system before it accepts a result that is out of
/// date. The service's thread then repeats what the result may lack.
inline constexpr int ZV_MAX_ROUNDS = 2;

inline constexpr std::uint32_t ZV_AGAIN_SWEEP = 0x1;
inline constexpr std::uint32_t ZV_AGAIN_MERGE = 0x2;

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
    /// What one listing, sweep or merge starts from.
    struct CListState
    {
        std::shared_ptr<const CAdapterFilter> Filter;
        CAdapterList::CState Records;
        std::uint64_t Rebuilds = 0;
        std::uint64_t Sweeps = 0;
        std::uint64_t Merges = 0;
    };
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
    void Route(std::uint32_t message, std::uint64_t wParam);
    void OnArrival();
    void OnRemoval();
    void LookAgain(std::uint32_t actions);
    ZVAdapterRecord FindRecord(std::string_view netCfgInstanceId) const;

    std::string ResolveServiceFilter(const std::string& text) const;
    unsigned int EnumerateAndAnswer(CAdapterFilter filter, _ZV_SRVC_DEVICE_LIST_RSP& result);
    CListState CurrentState();

    // Maintenance of the list, on the service's thread alone. Both return true when something changed
    // that clients are notified of.
    bool CheckDeviceStatusInList();
    bool MergeNewDeviceToList();
    bool SweepOnce(bool& isCurrent);
    void FirstPass(CSweep& sweep);
    void SecondPass(CSweep& sweep);
    bool IsConfirmed(CSweep& sweep, std::size_t number);
    bool MarkAbsent(_ZV_SRVC_DEVICE_INFO& record, bool wasSighted, std::uint64_t rebuilds);
    void WatchSuspects(const CSweep& sweep);
    bool IsCurrent(std::uint64_t rebuilds);
    bool RefreshFromSimulatedDriver();

    // In the order of construction; destroyed from the last to the first.
    CAdapterList DeviceList; ///< Brings its own lock; replaced under FilterLock.
    CZVNotification UserNotifier;
    const std::string UserNotifierName = "Dev_Manager_User_Notification";
    CZVNotification ZVNotifier;
    const std::string ZVNotifierName = "Dev_Manager_ZV_Notification";
    CClientList UserClients; ///< Brings its own lock.
    CClientList ZVClients;   ///< Brings its own lock.
    std::atomic<std::uint32_t> NextClientId{0};
    /// Makes the filter and a rebuild of DeviceList one step. Held for a few assignments, and by a sweep
    /// or a merge for its flag changes; never while adapters are enumerated, compared or copied.
    CLock FilterLock;
    /// What DeviceList was last enumerated for. Immutable, so that it is exchanged without an allocation.
    std::shared_ptr<const CAdapterFilter> Filter ZV_GUARDED_BY(FilterLock) = std::make_shared<const CAdapterFilter>();
    /// How often hosts have replaced the list, and how often the service has swept it and merged into it.
    /// Each side sees by the other's count that what it has read of the system meanwhile is out of date.
    std::uint64_t RebuildCount ZV_GUARDED_BY(FilterLock) = 0;
    std::uint64_t SweepCount ZV_GUARDED_BY(FilterLock) = 0;
    std::uint64_t MergeCount ZV_GUARDED_BY(FilterLock) = 0;
    /// ZV_AGAIN bits: what the service's thread must repeat because a listing, a sweep or a merge was
    /// overtaken in each of its rounds.
    std::atomic<std::uint32_t> Again{0};
    CSafeMap FilterTable; ///< Brings its own lock; constant after construction.
    /// Running watchers, and finished ones not yet destroyed. The list has its own lock.
    CSafeList<std::shared_ptr<CDrvUninstallCheck>> UninstallChecks;
    CZVNotification UninstallNotifier;
    const std::string UninstallNotifierName = "Uninstall_Chk_Notification";
};
