/// The device object itself: opening, closing and its record.

#include "CUWPDevice.h"

#include "CVirtualDriverBinding.h"
#include "TracePoint.h"

CUWPDevice::CUWPDevice()
{
    Notifier.RunNotifyThread(this, ThreadName);
}

CUWPDevice::~CUWPDevice()
{
    DeviceInfo.reset();
    if (!Notifier.IsOwnThread())
        Notifier.StopNotifyThread();
}

bool CUWPDevice::IsDeviceReady() const
{
    return DeviceInfo != nullptr && (LoadStateFlags(*DeviceInfo) & ZV_DEV_UNAVAILABLE_MASK) == 0;
}

unsigned int CUWPDevice::Open(std::shared_ptr<_ZV_SRVC_DEVICE_INFO>& record)
{
    if (DeviceInfo != nullptr)
        return ZV_SRVC_ERR_ALREADY_OPEN;
    DeviceInfo = record;
    if (!IsDeviceReady())
    {
        DeviceInfo.reset();
        return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    }
    ControlPath = ZV_CONTROL_PATH;
    ControlPath += FieldText(DeviceInfo->NetCfgInstanceId);
    _ZV_DRV_INFO_BLOCK block{};
    if (!QueryDeviceInfo(block))
    {
        ZV_TRACE(OpenFailed, ControlPath);
        return ZV_SRVC_ERR_CONTROL_DEVICE;
    }
    DriverInfo = block.Words;
    ZV_TRACE(Opened, ControlPath, block.Words[3], block.Words[1], block.Words[2]);
    return ZV_SRVC_SUCCESS;
}

/// With a simulated driver the block is what that driver wrote, and the open succeeds: a host can
/// tell a device that works from one whose driver does not answer.
bool CUWPDevice::QueryDeviceInfo(_ZV_DRV_INFO_BLOCK& block) const
{
    const CDriverRequest query{IOCTL_ZV_DEVICE_INFO, 0, nullptr, 0, &block, sizeof block, ZV_DEVICE_INFO_TIMEOUT_MS};
    if (Fake_IOCTL_Send(query))
        return true;
    const CFileHandle handle = OpenControlDevice(ControlPath);
    return handle && IOCTL_Send(handle.Get(), query);
}

bool CUWPDevice::Fake_IOCTL_Send(const CDriverRequest& request) const
{
    const ZVVirtualIoctl send = Virtual_SendIOCTLReq;
    if (send == nullptr)
        return false;
    send(DeviceInfo->NetCfgInstanceId, request.Code, request.RequestId, request.InBuffer, request.InLength,
         request.OutBuffer, request.OutLength, request.TimeoutMs);
    return true;
}

unsigned int CUWPDevice::Close()
{
    DeviceInfo.reset();
    Notifier.StopNotifyThread();
    ZV_TRACE(Closed, ControlPath);
    return ZV_SRVC_SUCCESS;
}

unsigned int CUWPDevice::GetDeviceInfo(_ZV_SRVC_DEVICE_INFO* record)
{
    if (DeviceInfo == nullptr)
        return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    if (record == nullptr)
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    *record = CopyRecord(*DeviceInfo);
    return ZV_SRVC_SUCCESS;
}
