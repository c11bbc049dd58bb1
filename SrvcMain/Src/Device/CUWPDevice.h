/// @file
/// One adapter that a host works with, behind CDeviceIntf.
#pragma once

#include "AdapterRecord.h"
#include "CModuleBase.h"
#include "CZVNotification.h"
#include "DriverRequest.h"
#include "DriverWire.h"
#include "EvtIrpHandler.h"
#include "Lock.h"
#include "NotifyHandlers.h"

#include "CDeviceIntf.h"

#include <array>
#include <cstdint>
#include <list>
#include <memory>
#include <string>

class CUWPDevice final : public CDeviceIntf, public CZVNotifyHandler, public CModuleBase
{
public:
    /// Starts the device's thread, which runs from now on, before and independent of Open.
    CUWPDevice();
    /// Waits for the thread; on the thread itself it lets it go.
    ~CUWPDevice() override;

    unsigned int Open(std::shared_ptr<_ZV_SRVC_DEVICE_INFO>& record) override;
    unsigned int Close() override;
    unsigned int GetAbility(std::uint32_t* result) override;
    unsigned int GetDeviceInfo(_ZV_SRVC_DEVICE_INFO* record) override;
    unsigned int SetQueryInfo(std::uint8_t isSet, std::uint32_t infoId, void* buffer, std::uint32_t length) override;
    unsigned int SendIOCTLReq(_ZV_SRVC_IOCTL_REQ* request) override;
    unsigned int AccessRegistry(std::uint32_t operation, std::string subKey, std::string valueName, std::uint32_t* type,
                                std::uint8_t* data, std::uint32_t* size) override;

    void NotifyCallback(std::string name, const ZVBlob& blob) override;

private:
    /// Every request begins with this: a record is bound and its adapter neither faulted nor absent.
    bool IsDeviceReady() const;
    bool QueryDeviceInfo(_ZV_DRV_INFO_BLOCK& block) const;

    // The simulated driver's branches: false when its entry is not bound, and nothing has happened.
    bool Fake_IOCTL_Send(const CDriverRequest& request) const;
    bool Fake_SetQueryInfo(std::uint8_t isSet, std::uint32_t infoId, void* buffer, std::uint32_t length) const;
    bool Fake_AccessRegistry(std::uint32_t operation, const std::string& subKey, const std::string& valueName,
                             std::uint32_t* type, std::uint8_t* data, std::uint32_t* size) const;

    unsigned int AcceptAsync(_ZV_SRVC_IOCTL_REQ* request);
    bool AddPending(_ZV_SRVC_IOCTL_REQ* request);
    void RemovePending(const _ZV_SRVC_IOCTL_REQ* request);
    _ZV_SRVC_IOCTL_REQ* TakePending();
    void HandlingAsyncIOCTLReq();
    std::uint32_t RunAsync(const _ZV_SRVC_IOCTL_REQ& request);

    static constexpr char ThreadName[] = "DEV_ASYNC_IOCTL_NOTIFY";

    // Written by Open and Close alone, which run beside no other operation of the object.
    ZVAdapterRecord DeviceInfo;
    std::string ControlPath;
    CZVNotification Notifier;
    std::array<std::uint32_t, 4> DriverInfo{}; ///< The start of the driver's information block.
    /// Waiting for the thread, oldest first. The records are the host's.
    CLock PendingLock;
    std::list<_ZV_SRVC_IOCTL_REQ*> PendingReqs ZV_GUARDED_BY(PendingLock);
};
