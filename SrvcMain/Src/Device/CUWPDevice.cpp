/// The device object itself: opening, closing and its record.

#include "CUWPDevice.h"

#include "SimulatedRequests.h"
#include "TracePoint.h"

#include <utility>

namespace
{

bool IsAvailable(const _ZV_SRVC_DEVICE_INFO& record)
{
    return (LoadStateFlags(record) & ZV_DEV_UNAVAILABLE_MASK) == 0;
}

/// Requests the driver's information block.
///
/// With a simulated driver the query always succeeds, and the block contains what that driver wrote.
bool QueryDeviceInfo(const _ZV_SRVC_DEVICE_INFO& record, const std::string& path, _ZV_DRV_INFO_BLOCK& block)
{
    const CDriverRequest query{.Code = IOCTL_ZV_DEVICE_INFO,
                               .RequestId = 0,
                               .InBuffer = nullptr,
                               .InLength = 0,
                               .OutBuffer = &block,
                               .OutLength = sizeof block,
                               .TimeoutMs = ZV_DEVICE_INFO_TIMEOUT_MS};
    if (Fake_IOCTL_Send(record, query))
        return true;
    CFileHandle handle = OpenControlDevice(path);
    CDriverCallPtr call;
    const bool answered = handle && IOCTL_Send(handle.Get(), query, call);
    // Closing the handle cancels the requests in flight on it.
    handle.Reset();
    if (call != nullptr)
        call->AwaitCompletion(CancelDeadline());
    return answered;
}

} // namespace

CUWPDevice::CUWPDevice()
{
    Notifier.RunNotifyThread(this, ThreadName);
}

CUWPDevice::~CUWPDevice()
{
    Unbind();
    if (!Notifier.IsOwnThread())
        Notifier.StopNotifyThread();
    ReleaseCompletedCalls();
}

CUWPDevice::CBinding CUWPDevice::Bound() const
{
    const CScopedLock lock(BindLock);
    return {.Record = DeviceInfo, .Path = ControlPath};
}

CUWPDevice::CBinding CUWPDevice::Ready() const
{
    CBinding binding = Bound();
    if (binding.Record != nullptr && !IsAvailable(*binding.Record))
        binding.Record.reset();
    return binding;
}

/// Binds the object in one step.
/// @param words the start of the information block; null when the driver did not answer.
/// @return false when the object is already bound.
bool CUWPDevice::Bind(const ZVAdapterRecord& record, CPath path, const std::array<std::uint32_t, 4>* words)
{
    const CScopedLock lock(BindLock);
    if (DeviceInfo != nullptr)
        return false;
    DeviceInfo = record;
    ControlPath.swap(path); // The old one is released after the lock.
    if (words != nullptr)
        DriverInfo = *words;
    return true;
}

void CUWPDevice::Unbind()
{
    ZVAdapterRecord released; // Destroyed after the lock.
    const CScopedLock lock(BindLock);
    released.swap(DeviceInfo);
}

/// Allocates all memory before the binding, so that an Open that throws leaves the object unbound.
unsigned int CUWPDevice::Open(std::shared_ptr<_ZV_SRVC_DEVICE_INFO>& record)
{
    if (Bound().Record != nullptr)
        return ZV_SRVC_ERR_ALREADY_OPEN;
    if (record == nullptr || !IsAvailable(*record))
        return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    const auto path =
        std::make_shared<const std::string>(ZV_CONTROL_PATH + std::string(FieldText(record->NetCfgInstanceId)));
    _ZV_DRV_INFO_BLOCK block{};
    const bool answered = QueryDeviceInfo(*record, *path, block);
    if (!Bind(record, path, answered ? &block.Words : nullptr))
        return ZV_SRVC_ERR_ALREADY_OPEN;
    if (!answered)
    {
        ZV_TRACE(OpenFailed, *path);
        return ZV_SRVC_ERR_CONTROL_DEVICE;
    }
    ZV_TRACE(Opened, *path, block.Words[3], block.Words[1], block.Words[2]);
    return ZV_SRVC_SUCCESS;
}

unsigned int CUWPDevice::Close()
{
    Unbind();
    Notifier.StopNotifyThread();
    ReleaseCompletedCalls();
    ZV_TRACE(Closed, *Bound().Path);
    return ZV_SRVC_SUCCESS;
}

unsigned int CUWPDevice::GetDeviceInfo(_ZV_SRVC_DEVICE_INFO* record)
{
    const ZVAdapterRecord bound = Bound().Record;
    if (bound == nullptr)
        return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    if (record == nullptr)
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    CopyRecord(*bound, record);
    return ZV_SRVC_SUCCESS;
}
