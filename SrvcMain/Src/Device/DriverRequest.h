/// @file
/// The one way a request reaches an adapter's driver. No state, no retries, nothing cached.
#pragma once

#include "OSPlatform.h"
#include "ScopedHandle.h"

#include <cstdint>
#include <string>

/// One request as its sender knows it.
struct CDriverRequest
{
    std::uint32_t Code = 0;
    std::uint16_t RequestId = 0;
    const void* InBuffer = nullptr; ///< May be null when InLength is 0.
    std::uint32_t InLength = 0;
    void* OutBuffer = nullptr; ///< May be null when OutLength is 0, and may be InBuffer.
    std::uint32_t OutLength = 0;
    std::uint32_t TimeoutMs = 0;
};

/// Opens a control device; empty when it does not exist or refuses, and the reason is traced.
CFileHandle OpenControlDevice(const std::string& path);

/// Sends one request on a handle of the caller's and waits for its end.
/// @return true when the driver ended the request in time, whatever it ended it with; false when it
///         refused it at once or did not end it in time. Either way the request has ended: one that
///         timed out is cancelled, and the driver has let go of it.
bool IOCTL_Send(HANDLE handle, const CDriverRequest& request);

/// The same on a handle of its own.
bool SendToDriver(const std::string& path, const CDriverRequest& request);

/// Waits until a request has ended that was in flight on this handle.
void AwaitEnd(HANDLE handle, OVERLAPPED& overlapped);
