/// SendIOCTLReq, at once or on the device's own thread.

#include "CUWPDevice.h"

#include "TracePoint.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>

namespace
{

/// Bytes of the one field behind the length word of a result: a pointer.
constexpr std::uint32_t AsyncResultLength = sizeof(_ZV_ASYNC_RESULT) - offsetof(_ZV_ASYNC_RESULT, Request);
static_assert(AsyncResultLength == 8);

/// True when the memory that a record names can be used.
bool HasItsMemory(const _ZV_SRVC_IOCTL_REQ& request)
{
    return (request.InBuffer != nullptr || request.InLength == 0) &&
           (request.OutBuffer != nullptr || request.OutLength == 0);
}

/// Puts the response reads of a request in flight.
std::shared_ptr<OutputBuffer> preAsyncIOCTLHandling(HANDLE handle, const _ZV_SRVC_IOCTL_REQ& request)
{
    auto output = std::make_shared<OutputBuffer>();
    output->RequestId = request.RequestId;
    output->Handler = std::make_shared<EvtIrpHandler>(handle, output.get());
    return output;
}

void CopyResponse(const OutputBuffer& output, const _ZV_SRVC_IOCTL_REQ& request)
{
    const std::size_t size = std::min<std::size_t>(request.OutLength, output.Data.size());
    if (output.Done && size != 0)
        std::memcpy(request.OutBuffer, output.Data.data(), size);
}

CDriverRequest AsDriverRequest(const _ZV_SRVC_IOCTL_REQ& request)
{
    return {request.IoctlCode, request.RequestId, request.InBuffer, request.InLength,
            request.OutBuffer, request.OutLength, request.Timeout};
}

} // namespace

unsigned int CUWPDevice::SendIOCTLReq(_ZV_SRVC_IOCTL_REQ* request)
{
    if (!IsDeviceReady())
        return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    if (request == nullptr)
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    const CDriverRequest driverRequest = AsDriverRequest(*request);
    if (Fake_IOCTL_Send(driverRequest))
        return ZV_SRVC_SUCCESS;
    if (!HasItsMemory(*request))
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    std::uint32_t status = ZV_SRVC_SUCCESS;
    if (request->IsAsync != 0)
        status = AcceptAsync(request);
    else if (!SendToDriver(ControlPath, driverRequest))
        status = ZV_SRVC_ERR_FAILURE;
    const std::uint32_t id = driverRequest.RequestId;
    ZV_TRACE(RequestDone, driverRequest.Code, id, status);
    return status;
}

unsigned int CUWPDevice::AcceptAsync(_ZV_SRVC_IOCTL_REQ* request)
{
    // Made first: once the record stands in the list, nothing may fail that the host would take for
    // a refusal. From the append on the record may also be served, and is not looked at any more.
    const ZVBlob wake = MakeBlob(ZV_ASYNC_WAKE_SIZE);
    if (!AddPending(request))
        return ZV_SRVC_ERR_ASYNC_PENDING;
    try
    {
        Notifier.SendNorification(wake);
    }
    catch (...)
    {
        RemovePending(request);
        throw;
    }
    return ZV_SRVC_SUCCESS;
}

/// @return false when a request with the same RequestId waits already.
bool CUWPDevice::AddPending(_ZV_SRVC_IOCTL_REQ* request)
{
    std::list<_ZV_SRVC_IOCTL_REQ*> entry{request};
    const CScopedLock lock(PendingLock);
    if (std::ranges::any_of(PendingReqs, [request](const _ZV_SRVC_IOCTL_REQ* waiting) {
            return waiting->RequestId == request->RequestId;
        }))
        return false;
    PendingReqs.splice(PendingReqs.end(), entry);
    return true;
}

void CUWPDevice::RemovePending(const _ZV_SRVC_IOCTL_REQ* request)
{
    const CScopedLock lock(PendingLock);
    std::erase(PendingReqs, request);
}

/// @return the oldest request, or null.
_ZV_SRVC_IOCTL_REQ* CUWPDevice::TakePending()
{
    std::list<_ZV_SRVC_IOCTL_REQ*> taken;
    const CScopedLock lock(PendingLock);
    if (PendingReqs.empty())
        return nullptr;
    taken.splice(taken.end(), PendingReqs, PendingReqs.begin());
    return taken.front();
}

void CUWPDevice::NotifyCallback(std::string name, const ZVBlob& /*blob*/)
{
    if (name == ThreadName)
        HandlingAsyncIOCTLReq();
    else
        ZV_TRACE(AsyncUnknownThread, name);
}

void CUWPDevice::HandlingAsyncIOCTLReq()
{
    _ZV_SRVC_IOCTL_REQ* const request = TakePending();
    if (request == nullptr)
    {
        ZV_TRACE(AsyncNothingPending);
        return;
    }
    const std::uint32_t status = request->IsAsync != 0 ? RunAsync(*request) : 1;
    const std::uint32_t id = request->RequestId;
    ZV_TRACE(AsyncDone, id, status);
    if (request->NotifyFn == nullptr || request->NotifyContext == nullptr)
        return;
    const _ZV_ASYNC_RESULT result{ZV_ASYNC_IOCTL_DONE, AsyncResultLength, request};
    // Last of all: the host may drop this object in its callback.
    request->NotifyFn(request->NotifyContext, status, &result);
}

/// The request, its response and the end of everything that was in flight.
/// @return the status of the callback: 0 when the driver took the request.
std::uint32_t CUWPDevice::RunAsync(const _ZV_SRVC_IOCTL_REQ& request)
{
    const CFileHandle handle = OpenControlDevice(ControlPath);
    if (!handle)
        return 1;
    const std::shared_ptr<OutputBuffer> output = preAsyncIOCTLHandling(handle.Get(), request);
    const bool sent = IOCTL_Send(handle.Get(), AsDriverRequest(request));
    // The cancelled reads end the wait below at once.
    if (!sent)
        CancelIo(handle.Get());
    output->Handler->waitRsp();
    CopyResponse(*output, request);
    return sent ? 0 : 1;
}
