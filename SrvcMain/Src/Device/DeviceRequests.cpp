/// SendIOCTLReq, synchronous or on the device's own thread.

#include "CUWPDevice.h"

#include "SimulatedRequests.h"
#include "TracePoint.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>

namespace
{

/// Bytes of the one field after the length word of a result: a pointer.
constexpr std::uint32_t AsyncResultLength = sizeof(_ZV_ASYNC_RESULT) - offsetof(_ZV_ASYNC_RESULT, Request);
static_assert(AsyncResultLength == 8);

/// Returns true when the record has memory for each nonzero length.
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
    output->Limit = request.OutLength;
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
    return {.Code = request.IoctlCode,
            .RequestId = request.RequestId,
            .InBuffer = request.InBuffer,
            .InLength = request.InLength,
            .OutBuffer = request.OutBuffer,
            .OutLength = request.OutLength,
            .TimeoutMs = request.Timeout};
}

} // namespace

unsigned int CUWPDevice::SendIOCTLReq(_ZV_SRVC_IOCTL_REQ* request)
{
    const auto [record, path] = Ready();
    if (record == nullptr)
        return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    if (request == nullptr || !HasItsMemory(*request))
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    const CDriverRequest driverRequest = AsDriverRequest(*request);
    if (Fake_IOCTL_Send(*record, driverRequest))
        return ZV_SRVC_SUCCESS;
    std::uint32_t status = ZV_SRVC_SUCCESS;
    if (request->IsAsync != 0)
        status = AcceptAsync(request);
    else if (!SendToDriver(*path, driverRequest))
        status = ZV_SRVC_ERR_FAILURE;
    const std::uint32_t id = driverRequest.RequestId;
    ZV_TRACE(RequestDone, driverRequest.Code, id, status);
    return status;
}

unsigned int CUWPDevice::AcceptAsync(_ZV_SRVC_IOCTL_REQ* request)
{
    // Prepared first: if something failed after the record is in the list, the host would consider an
    // accepted request refused. The record is not read after it was added, because the request may
    // complete immediately.
    CZVNotification::CPrepared wake = CZVNotification::Prepare(MakeBlob(ZV_ASYNC_WAKE_SIZE));
    if (!AddPending(request))
        return ZV_SRVC_ERR_ASYNC_PENDING;
    Notifier.SendPrepared(wake);
    return ZV_SRVC_SUCCESS;
}

/// @return false when a request with the same RequestId is already waiting.
bool CUWPDevice::AddPending(_ZV_SRVC_IOCTL_REQ* request)
{
    const std::uint16_t id = request->RequestId;
    std::list<CPendingReq> entry{{request, id}};
    const CScopedLock lock(PendingLock);
    if (std::ranges::find(PendingReqs, id, &CPendingReq::RequestId) != PendingReqs.end())
        return false;
    PendingReqs.splice(PendingReqs.end(), entry);
    return true;
}

/// Removes and returns the oldest request, or null.
_ZV_SRVC_IOCTL_REQ* CUWPDevice::TakePending()
{
    std::list<CPendingReq> taken;
    const CScopedLock lock(PendingLock);
    if (PendingReqs.empty())
        return nullptr;
    taken.splice(taken.end(), PendingReqs, PendingReqs.begin());
    return taken.front().Request;
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
    // Last: the host may release this object in its callback.
    request->NotifyFn(request->NotifyContext, status, &result);
}

/// Runs the request and collects its response. Calls that the driver does not complete in time are parked.
/// @return the status for the callback: 0 when the driver accepted the request.
std::uint32_t CUWPDevice::RunAsync(const _ZV_SRVC_IOCTL_REQ& request) const
{
    const CDriverRequest driverRequest = AsDriverRequest(request);
    CFileHandle handle = OpenControlDevice(*Bound().Path);
    if (!handle)
        return 1;
    CDriverCallPtr call;
    std::shared_ptr<OutputBuffer> output = preAsyncIOCTLHandling(handle.Get(), request);
    const bool sent = IOCTL_Send(handle.Get(), driverRequest, call);
    // The wait below ends when it finds the cancelled reads.
    if (!sent)
        CancelIo(handle.Get());
    output->Handler->waitRsp();
    const auto deadline = CancelDeadline();
    output->Handler->AwaitReads(deadline);
    if (call != nullptr && call->AwaitCompletion(deadline))
        CopyLateOutput(call.get(), driverRequest);
    // After the output of the request itself, which the response replaces.
    CopyResponse(*output, request);
    output.reset();
    handle.Reset();
    ReleaseCompletedCalls();
    return sent ? 0 : 1;
}
