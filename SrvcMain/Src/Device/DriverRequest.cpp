#include "DriverRequest.h"

#include "DriverWire.h"
#include "TracePoint.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <thread>

namespace
{

/// Header, payload and the room behind it. What carries nothing is zero, so that no stale memory of
/// the host reaches a driver.
std::unique_ptr<std::byte[]> MakeRequestBuffer(const CDriverRequest& request, std::uint32_t size)
{
    auto buffer = std::make_unique_for_overwrite<std::byte[]>(size);
    const _ZV_DRV_REQ_HDR header{GetCurrentProcessId(), request.RequestId, 1, 0,
                                 static_cast<std::uint16_t>(request.InLength)};
    std::memcpy(buffer.get(), &header, sizeof header);
    std::byte* const payload = buffer.get() + sizeof header;
    if (request.InLength != 0)
        std::memcpy(payload, request.InBuffer, request.InLength);
    std::memset(payload + request.InLength, 0, size - sizeof header - request.InLength);
    return buffer;
}

/// Starts the request. @return false when the driver refused it at once.
bool Start(HANDLE handle, const CDriverRequest& request, std::byte* buffer, std::uint32_t size, OVERLAPPED& overlapped)
{
    DWORD returned = 0;
    if (DeviceIoControl(handle, request.Code, buffer, size, request.OutBuffer, request.OutLength, &returned,
                        &overlapped))
        return true;
    const std::uint32_t error = GetLastError();
    if (error == ERROR_IO_PENDING)
        return true;
    ZV_TRACE(SendRefused, request.Code, error);
    return false;
}

} // namespace

CFileHandle OpenControlDevice(const std::string& path)
{
    CFileHandle handle(CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                   FILE_FLAG_OVERLAPPED, nullptr));
    if (!handle)
    {
        const std::uint32_t error = GetLastError();
        ZV_TRACE(ControlDeviceFailed, path, error);
    }
    return handle;
}

void AwaitEnd(HANDLE handle, OVERLAPPED& overlapped)
{
    DWORD bytes = 0;
    while (!GetOverlappedResult(handle, &overlapped, &bytes, FALSE) && GetLastError() == ERROR_IO_INCOMPLETE)
    {
        // Without an event of its own a request can only be looked at: the handle, which stands in
        // for the event, is signalled by the end of any other request too.
        if (overlapped.hEvent == nullptr)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        else
            GetOverlappedResult(handle, &overlapped, &bytes, TRUE);
    }
}

bool IOCTL_Send(HANDLE handle, const CDriverRequest& request)
{
    const std::uint32_t larger = std::max(request.InLength, request.OutLength);
    if (larger > std::numeric_limits<std::uint32_t>::max() - ZV_REQ_OVERHEAD)
    {
        ZV_TRACE(SendTooLarge, request.Code, larger);
        return false;
    }
    const std::uint32_t size = larger + ZV_REQ_OVERHEAD;
    const auto buffer = MakeRequestBuffer(request, size);
    const CEventHandle event(CreateEventW(nullptr, TRUE, TRUE, nullptr));
    OVERLAPPED overlapped{};
    overlapped.hEvent = event.Get();
    if (!Start(handle, request, buffer.get(), size, overlapped))
        return false;

    const DWORD waited = WaitForSingleObject(event.Get(), request.TimeoutMs);
    if (waited == WAIT_OBJECT_0)
        return true;
    if (waited == WAIT_TIMEOUT)
        ZV_TRACE(SendTimedOut, request.Code, request.TimeoutMs);
    // The system uses buffer, output and record until the request has really ended.
    CancelIoEx(handle, &overlapped);
    AwaitEnd(handle, overlapped);
    return false;
}

bool SendToDriver(const std::string& path, const CDriverRequest& request)
{
    const CFileHandle handle = OpenControlDevice(path);
    if (!handle)
        return false;
    const bool sent = IOCTL_Send(handle.Get(), request);
    if (!sent)
        CancelIo(handle.Get());
    return sent;
}
