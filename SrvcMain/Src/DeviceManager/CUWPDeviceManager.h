/// @file
/// The device manager, which implements CDeviceManagerIntf.
#pragma once

#include "CAdapterList.h"
#include "CEventClients.h"
#include "CListMaintenance.h"
#include "CModuleBase.h"
#include "NotifyHandlers.h"

#include "CDeviceManagerIntf.h"

#include <cstdint>
#include <memory>

/// Forwards to three objects, each of which owns its data and their lock. Entered by host threads (the
/// operations of CDeviceManagerIntf) and by the service's notification thread (PwrEvtHdlr).
class CUWPDeviceManager final : public CDeviceManagerIntf, public CZVPwrEvtHandler, public CModuleBase
{
public:
    /// Starts the threads; makes no platform call.
    CUWPDeviceManager() = default;
    /// Stops the threads.
    ~CUWPDeviceManager() override;

    unsigned int GetZVDeviceList(const _ZV_SRVC_DEVICE_LIST_REQ* request, _ZV_SRVC_DEVICE_LIST_RSP* result) override;
    unsigned int OpenDevice(const _ZV_SRVC_DEVICE_INFO* record, _ZV_SRVC_INTERFACE_TYPE type,
                            std::shared_ptr<CDeviceIntf>& device) override;
    unsigned int RegisterNotification(_ZV_WLAN_NOTIFY_HDLR* client) override;
    unsigned int DeRegisterNotification(const _ZV_WLAN_NOTIFY_HDLR* client) override;
    unsigned int NicChangeState(std::shared_ptr<CDeviceIntf>& device, std::uint8_t enable) override;

    void PwrEvtHdlr(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) override;

private:
    void Route(std::uint32_t message, std::uint64_t wParam);

    // Thread-safe each. In the order of construction: the maintenance uses the other two.
    CAdapterList List;
    CEventClients Clients;
    CListMaintenance Maintenance{List, Clients};
};
