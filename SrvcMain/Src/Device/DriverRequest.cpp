#include "DriverRequest.h"

#include "DriverWire.h"
#include "TracePoint.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

namespace
{

/// Writes header and payload. The rest is zero, so that no stale memory of the host reaches a driver.
void FillInput(std::span<std::byte> input, const CDriverRequest& request)
{
    const _ZV_DRV_REQ_HDR header{.ProcessId = GetCurrentProcessId(),
                                 .RequestId = request.RequestId,
                                 .Marker = 1,
                                 .Reserved = 0,
                                 .InLength = static_cast<std::uint16_t>(request.InLength)};
    std::memcpy(input.data(), &header, sizeof header);
    const std::span<std::byte> payload = input.subspan(sizeof header);
    if (request.InLength != 0)
        std::memcpy(payload.data(), request.InBuffer, request.InLength);
    const std::span<std::byte> rest = payload.subspan(request.InLength);
    std::memset(rest.data(), 0, rest.size());
}

/// With buffered transfer the driver never accesses the caller's memory: the operating system copies the
/// output on completion. With the other methods the driver may access the memory at any time.
bool IsBuffered(std::uint32_t code)
{
    constexpr std::uint32_t methodBits = 3;
    return (code & methodBits) == 0;
}

/// A driver that accesses the output memory directly finds the caller's bytes there, so bytes that it does
/// not write stay unchanged.
CDriverCallPtr MakeCall(const CDriverRequest& request, std::uint32_t size)
{
    const bool isBuffered = IsBuffered(request.Code);
    CDriverCallPtr call = CDriverCall::Make(
        size, request.OutLength, isBuffered ? CallMemory::Shared : CallMemory::Separate, CallEvent::ManualSignalled);
    FillInput(call->Input(), request);
    if (request.OutLength != 0 && !isBuffered)
        std::memcpy(call->Output().data(), request.OutBuffer, request.OutLength);
    return call;
}

void CopyOutput(const CDriverCall& call, const CDriverRequest& request)
{
    const std::size_t size = IsBuffered(request.Code) ? call.CopiedBytes() : request.OutLength;
    if (size != 0)
        std::memcpy(request.OutBuffer, call.Output().data(), size);
}

/// Starts the call and waits for it.
/// @return false when it was refused or timed out.
bool Run(HANDLE handle, const CDriverRequest& request, CDriverCall& call)
{
    const std::uint32_t error = call.Start(handle, request.Code);
    if (error != ERROR_SUCCESS && error != ERROR_IO_PENDING)
    {
        ZV_TRACE(SendRefused, request.Code, error);
        return false;
    }
    const DWORD waited = WaitForSingleObject(call.Event(), request.TimeoutMs);
    if (waited == WAIT_TIMEOUT)
        ZV_TRACE(SendTimedOut, request.Code, request.TimeoutMs);
    return waited == WAIT_OBJECT_0;
}

} // namespace

CFileHandle OpenControlDevice(const std::string& path)
{
    ReleaseCompletedCalls();
    CFileHandle handle(CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                   FILE_FLAG_OVERLAPPED, nullptr));
    if (!handle)
    {
        const std::uint32_t error = GetLastError();
        ZV_TRACE(ControlDeviceFailed, path, error);
    }
    return handle;
}

void CopyLateOutput(const CDriverCall* call, const CDriverRequest& request)
{
    if (call != nullptr && call->HasCompleted())
        CopyOutput(*call, request);
}

bool IOCTL_Send(HANDLE handle, const CDriverRequest& request, CDriverCallPtr& call)
{
    const std::uint32_t larger = std::max(request.InLength, request.OutLength);
    if (larger > std::numeric_limits<std::uint32_t>::max() - ZV_REQ_OVERHEAD)
    {
        ZV_TRACE(SendTooLarge, request.Code, larger);
        return false;
    }
    call = MakeCall(request, larger + ZV_REQ_OVERHEAD);
    const bool sent = Run(handle, request, *call);
    if (call->HasCompleted())
    {
        CopyOutput(*call, request);
        call.reset();
    }
    return sent;
}

bool SendToDriver(const std::string& path, const CDriverRequest& request)
{
    CFileHandle handle = OpenControlDevice(path);
    if (!handle)
        return false;
    CDriverCallPtr call;
    const bool sent = IOCTL_Send(handle.Get(), request, call);
    if (!sent)
        CancelIo(handle.Get());
    if (call != nullptr)
        call->AwaitCompletion(CancelDeadline());
    // Some drivers complete a cancelled request only when its handle is closed.
    handle.Reset();
    CopyLateOutput(call.get(), request);
    return sent;
}
