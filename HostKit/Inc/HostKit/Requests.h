/// @file
/// A request to an adapter's driver and its result. Device.h sends requests.
///
/// Both records own their memory. They have no threads and no locks: an object must not be used by two threads at once
/// if one of them changes it.
#pragma once

#include "Status.h"

#include <chrono>
#include <cstdint>
#include <system_error>
#include <utility>
#include <vector>

namespace HostKit
{

/// Memory of a request or an item.
using Bytes = std::vector<std::uint8_t>;

/// A control request that the host and the adapter's driver define. HostKit chooses its RequestId.
struct Request
{
    std::uint32_t Code = 0;       ///< Control code, passed to the driver unchanged.
    Bytes Input = {};             ///< The driver receives only the low 16 bits of its length.
    std::uint32_t OutputSize = 0; ///< Capacity for the driver's answer in bytes.
    /// Time for the driver to complete the request, from 0 to 4294967294 ms; other times are clamped. An asynchronous
    /// request needs up to 3000 ms + 100 ms more for its response.
    std::chrono::milliseconds Timeout{5000};
};

/// What a request has produced.
struct Result
{
    /// The library's status (StatusCategory), or std::errc::operation_canceled for an asynchronous request that never
    /// ran because its device was closed or released first.
    std::error_code Error = {};
    /// `OutputSize` bytes, zero where the driver wrote nothing: the library does not report how many bytes it wrote.
    /// Empty after an error.
    Bytes Output = {};

    /// Returns the output. @throws std::system_error if there is an error.
    Bytes Value() &&
    {
        Check(Error, "driver request");
        return std::move(Output);
    }
};

} // namespace HostKit
