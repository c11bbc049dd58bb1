/// @file
/// One adapter that a host works with, behind CDeviceIntf.
#pragma once

#include "AdapterRecord.h"
#include "CModuleBase.h"
#include "CZVNotification.h"
#include "NotifyHandlers.h"

#include "CDeviceIntf.h"

#include <cstdint>
#include <memory>
#include <string>

class CUWPDevice final : public CDeviceIntf, public CZVNotifyHandler, public CModuleBase
{
public:
    /// Starts the device's thread.
    CUWPDevice();
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
    bool IsDeviceReady() const;

    ZVAdapterRecord DeviceInfo; ///< Open and Close only write it, and run beside nothing else.
    CZVNotification Notifier;
};
