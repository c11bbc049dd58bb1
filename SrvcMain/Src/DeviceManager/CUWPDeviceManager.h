/// @file
/// The adapter inventory behind CDeviceManagerIntf.
#pragma once

#include "AdapterEnumeration.h"
#include "AdapterFilter.h"
#include "AdapterRecord.h"
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
#include <string>
#include <string_view>

/// Entered by host threads (the operations of CDeviceManagerIntf), by the service's notification
/// thread (PwrEvtHdlr) and by its own notification threads (NotifyCallback).
class CUWPDeviceManager final : public CDeviceManagerIntf,
                                public CZVNotifyHandler,
                                public CZVPwrEvtHandler,
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

private:
    using CClientList = CSafeList<std::shared_ptr<const _ZV_WLAN_NOTIFY_HDLR>>;

    void StartNotifier(CZVNotification& notifier, const std::string& name);
    CClientList& ClientsOfType(std::uint32_t clientType);
    void PostEvent(std::uint32_t event);
    ZVAdapterRecord FindRecord(std::string_view netCfgInstanceId);

    std::string ResolveServiceFilter(const std::string& text) const;
    bool AnswerFromList(const std::string& serviceFilter, _ZV_SRVC_DEVICE_LIST_RSP& result, unsigned int& status);
    unsigned int EnumerateAndAnswer(CAdapterFilter filter, _ZV_SRVC_DEVICE_LIST_RSP& result);
    unsigned int CopyListOut(_ZV_SRVC_DEVICE_LIST_RSP& result);

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
    CSafeMap FilterTable;                            ///< Brings its own lock; constant after construction.
    CZVNotification UninstallNotifier;
    const std::string UninstallNotifierName = "Uninstall_Chk_Notification";
};
