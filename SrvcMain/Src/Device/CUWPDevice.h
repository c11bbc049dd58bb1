/// @file
/// The implementation of CDeviceIntf: one adapter that a host works with.
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
    /// Starts the device's thread, which does not depend on Open.
    CUWPDevice();
    /// Waits for the thread. On the thread itself, where a join is impossible, it detaches the thread.
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
    using CPath = std::shared_ptr<const std::string>;

    /// An asynchronous request that waits for the thread.
    struct CPendingReq
    {
        _ZV_SRVC_IOCTL_REQ* Request; ///< Owned by the host; read by the thread only, when it runs the request.
        std::uint16_t RequestId;     ///< A copy, because the host may free a record that will never run.
    };

    /// What Open binds the object to. Each operation copies the references, because Close may run
    /// concurrently.
    struct CBinding
    {
        ZVAdapterRecord Record; ///< Empty when the object is not bound.
        CPath Path;             ///< Of the control device. Close keeps it for requests that still run.
    };

    CBinding Bound() const ZV_EXCLUDES(BindLock);
    /// The same, without a record if the adapter is faulted or absent; every request begins with this.
    CBinding Ready() const ZV_EXCLUDES(BindLock);
    bool Bind(const ZVAdapterRecord& record, CPath path, const std::array<std::uint32_t, 4>* words)
        ZV_EXCLUDES(BindLock);
    void Unbind() ZV_EXCLUDES(BindLock);

    unsigned int AcceptAsync(_ZV_SRVC_IOCTL_REQ* request);
    bool AddPending(_ZV_SRVC_IOCTL_REQ* request);
    _ZV_SRVC_IOCTL_REQ* TakePending();
    void HandlingAsyncIOCTLReq();
    std::uint32_t RunAsync(const _ZV_SRVC_IOCTL_REQ& request) const;

    static constexpr char ThreadName[] = "DEV_ASYNC_IOCTL_NOTIFY";

    /// Guards what Open and Close change. Held while pointers are copied.
    mutable CLock BindLock;
    ZVAdapterRecord DeviceInfo ZV_GUARDED_BY(BindLock);
    CPath ControlPath ZV_GUARDED_BY(BindLock) = std::make_shared<const std::string>();
    /// The first words of the information block that the driver returned.
    std::array<std::uint32_t, 4> DriverInfo ZV_GUARDED_BY(BindLock){};
    CZVNotification Notifier; ///< Thread-safe.
    CLock PendingLock;
    std::list<CPendingReq> PendingReqs ZV_GUARDED_BY(PendingLock); ///< Oldest first.
};
