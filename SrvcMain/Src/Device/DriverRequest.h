/// @file
/// Sends requests to an adapter's driver. No state, no retries, no cache.
#pragma once

#include "DriverCall.h"
#include "OSPlatform.h"
#include "ScopedHandle.h"

#include <cstdint>
#include <string>

/// One request as its sender describes it.
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

/// Opens a control device.
/// @return an empty handle when that fails; the reason is traced.
CFileHandle OpenControlDevice(const std::string& path);

/// Sends one request on the caller's handle and waits for its completion, up to its time-out. The
/// driver works on memory of the call; the output is copied to OutBuffer once the request has
/// completed, with an error too.
/// @param call receives the request if the driver has not completed it. The caller then cancels it. It may
///        close the handle before or after it releases the call.
/// @return true when the driver completed the request in time, whatever its result; false when it
///         refused it at once or did not complete it in time.
bool IOCTL_Send(HANDLE handle, const CDriverRequest& request, CDriverCallPtr& call);

/// Copies the output of a call that has completed since IOCTL_Send returned. Does nothing for any other
/// call, whose later output is discarded.
void CopyLateOutput(const CDriverCall* call, const CDriverRequest& request);

/// Opens a handle, sends one request on it and closes it.
/// @return as IOCTL_Send.
/// @note Blocks for at most the time-out + ZV_CANCEL_WAIT. OutBuffer is not written afterwards.
bool SendToDriver(const std::string& path, const CDriverRequest& request);
