/// @file
/// What a driver is to the stand-in: an object that gets each control request of a named device and
/// ends it when it likes.
#pragma once

#include "PlatformExport.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>

namespace Platform
{

/// One control request between its start and its end. Transfer is buffered: the driver works on a
/// copy of the caller's input, and its output reaches the caller's memory when the request ends.
/// Thread-safe.
class IoRequest
{
public:
    virtual ~IoRequest() = default;

    virtual std::uint32_t Code() const = 0;
    virtual std::span<const std::uint8_t> Input() const = 0;
    virtual std::size_t OutputRoom() const = 0; ///< Capacity of the caller's buffer in bytes.
    /// Identifies the open handle that the request came through.
    virtual std::uint64_t OpenId() const = 0;
    virtual bool IsCancelRequested() const = 0;

    /// Completes the request; only the first call counts. May call the device's Close, so a driver must
    /// hold no lock around it. An error from inside ControlDevice::Start, on its thread, is an immediate
    /// refusal: the caller's event is not set and its byte count is unchanged.
    /// @param error platform error number, 0 for success, 995 for a cancelled request.
    /// @param output copied to the caller's buffer, cut to its size; ignored with an error other than
    ///        234 (ERROR_MORE_DATA).
    /// @return false when the request had completed already.
    virtual bool Complete(std::uint32_t error, std::span<const std::uint8_t> output = {}) = 0;
};

/// A driver's control device. The stand-in holds none of its locks during these calls.
class ControlDevice
{
public:
    virtual ~ControlDevice() = default;

    /// A caller opens the device. @return 0, or the error with which CreateFileA fails.
    virtual std::uint32_t Open(std::uint64_t openId);
    /// Called when the last reference to an open handle is dropped and its requests have been cancelled.
    virtual void Close(std::uint64_t openId);
    /// A request begins, on the caller's thread. It may be ended here, or kept and ended later from
    /// any thread. A request that is dropped without an end ends with 995.
    virtual void Start(const std::shared_ptr<IoRequest>& request) = 0;
    /// Called when the caller cancels a request, its thread ends or its handle is closed: once per request,
    /// after its Start has returned. The driver may complete the request now, later or never; until then it
    /// may use the caller's memory. The default completes it with 995.
    virtual void Cancel(const std::shared_ptr<IoRequest>& request);
    /// Changes the driver's behaviour at run time; settings that are left out stay unchanged.
    /// @param settings JSON text in the driver's own format.
    /// @return false for an invalid setting; `error`, a buffer of `errorRoom` bytes, then describes it. The
    ///         default accepts no settings.
    virtual bool Configure(const char* settings, char* error, std::size_t errorRoom);
    /// The caller closes its handle; the cancellation of the requests that it has in flight was asked
    /// for before this call. The last chance to end them: Close comes only after the last one has ended.
    virtual void Cleanup(std::uint64_t openId);
};

inline std::uint32_t ControlDevice::Open(std::uint64_t /*openId*/)
{
    return 0;
}

inline void ControlDevice::Close(std::uint64_t /*openId*/) {}

inline void ControlDevice::Cancel(const std::shared_ptr<IoRequest>& request)
{
    request->Complete(995);
}

inline bool ControlDevice::Configure(const char* /*settings*/, char* error, std::size_t errorRoom)
{
    std::snprintf(error, errorRoom, "this driver cannot be steered");
    return false;
}

inline void ControlDevice::Cleanup(std::uint64_t /*openId*/) {}

/// What a loadable driver exports under the name "CreateControlDevice". A machine file names the
/// module; the machine owns the result and calls it through its virtual operations alone.
/// @param deviceName the name under which the device will be opened, without its "\\.\" in front.
/// @param settings the JSON text of the machine file's settings for this device, "{}" when there are
///        none.
/// @return null when the settings make no sense; a text for the user is then at `error`, a buffer of
///         `errorRoom` bytes.
using CreateControlDeviceFunction = ControlDevice* (*)(const char* deviceName, const char* settings, char* error,
                                                       std::size_t errorRoom);

} // namespace Platform
