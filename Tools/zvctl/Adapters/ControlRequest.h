/// @file
/// Sends requests to a driver.
#pragma once

#include "DataText.h"

#include <CDeviceIntf.h>

#include <chrono>
#include <cstdint>
#include <memory>

/// A control request.
struct ControlRequest
{
    std::uint32_t Code = 0;
    std::uint16_t Id = 1;
    Bytes Input = {};
    std::uint32_t OutputSize = 0;
    std::uint32_t TimeoutMs = 1000;
};

/// Warns of input that is too long for the 16-bit length field of the driver's request record.
void WarnOfLostLength(const ControlRequest& request);

/// Sends a request and waits for its completion. @return the whole output buffer, because the library does
/// not report a byte count. @throws OperationFailed
Bytes SendAndWait(CDeviceIntf& device, const ControlRequest& request);

/// Sends an asynchronous request and waits for its callback, for its time-out plus `patience`.
/// @param patience the library collects a response until 3 seconds have passed without a chunk.
/// @return the whole output buffer at the time of the callback.
/// @throws Failure when the request is refused, or when the callback reports a failure or does not come. In the last
///         case the library keeps the request's memory and the device until the process ends.
Bytes SendAndAwaitCallback(const std::shared_ptr<CDeviceIntf>& device, const ControlRequest& request,
                           std::chrono::milliseconds patience);

/// Reads an item of the driver. @throws OperationFailed
Bytes QueryItem(CDeviceIntf& device, std::uint32_t id, std::uint32_t size);

/// Writes an item of the driver. @throws OperationFailed
void SetItem(CDeviceIntf& device, std::uint32_t id, Bytes data);
