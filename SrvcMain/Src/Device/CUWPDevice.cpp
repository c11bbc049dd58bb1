#include "CUWPDevice.h"

CUWPDevice::CUWPDevice()
{
    Notifier.RunNotifyThread(this, "DEV_ASYNC_IOCTL_NOTIFY");
}

CUWPDevice::~CUWPDevice()
{
    Close();
}

bool CUWPDevice::IsDeviceReady() const
{
    return DeviceInfo != nullptr && (LoadStateFlags(*DeviceInfo) & ZV_DEV_UNAVAILABLE_MASK) == 0;
}

// The road to the driver is not built yet, so every operation that needs it reports the status of a
// driver that does not answer.

unsigned int CUWPDevice::Open(std::shared_ptr<_ZV_SRVC_DEVICE_INFO>& record)
{
    if (DeviceInfo != nullptr)
        return ZV_SRVC_ERR_ALREADY_OPEN;
    DeviceInfo = record;
    if (IsDeviceReady())
        return ZV_SRVC_ERR_CONTROL_DEVICE;
    DeviceInfo.reset();
    return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
}

unsigned int CUWPDevice::Close()
{
    DeviceInfo.reset();
    Notifier.StopNotifyThread();
    return ZV_SRVC_SUCCESS;
}

unsigned int CUWPDevice::GetDeviceInfo(_ZV_SRVC_DEVICE_INFO* record)
{
    if (DeviceInfo == nullptr)
        return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    *record = CopyRecord(*DeviceInfo);
    return ZV_SRVC_SUCCESS;
}

unsigned int CUWPDevice::GetAbility(std::uint32_t* /*result*/)
{
    return IsDeviceReady() ? ZV_SRVC_ERR_ABILITY_QUERY : ZV_SRVC_ERR_DEVICE_NOT_OPEN;
}

unsigned int CUWPDevice::SetQueryInfo(std::uint8_t /*isSet*/, std::uint32_t /*infoId*/, void* /*buffer*/,
                                      std::uint32_t /*length*/)
{
    return IsDeviceReady() ? ZV_SRVC_ERR_DRIVER_REQUEST : ZV_SRVC_ERR_DEVICE_NOT_OPEN;
}

unsigned int CUWPDevice::SendIOCTLReq(_ZV_SRVC_IOCTL_REQ* /*request*/)
{
    return IsDeviceReady() ? ZV_SRVC_ERR_FAILURE : ZV_SRVC_ERR_DEVICE_NOT_OPEN;
}

unsigned int CUWPDevice::AccessRegistry(std::uint32_t /*operation*/, std::string /*subKey*/, std::string /*valueName*/,
                                        std::uint32_t* /*type*/, std::uint8_t* /*data*/, std::uint32_t* /*size*/)
{
    return IsDeviceReady() ? ZV_SRVC_ERR_FAILURE : ZV_SRVC_ERR_DEVICE_NOT_OPEN;
}

void CUWPDevice::NotifyCallback(std::string /*name*/, const ZVBlob& /*blob*/) {}
