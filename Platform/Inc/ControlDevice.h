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
    virtual std::size_t OutputRoom() const = 0; ///< Bytes that the caller has room for.
    /// Identifies the open handle that the request came through.
    virtual std::uint64_t OpenId() const = 0;
    virtual bool IsCancelRequested() const = 0;

    /// Ends the request; the first call counts and later ones do nothing. May call the device's Close
    /// inside itself, so a driver holds no lock of its own around it. Ended inside
    /// ControlDevice::Start, on its thread, an error is a refusal at once: the caller's event is not
    /// set and its byte count is untouched.
    /// @param error platform error number, 0 for success, 995 for a cancelled request.
    /// @param output what reaches the caller, cut to its room; nothing does with an error other than
    ///        234 (ERROR_MORE_DATA).
    /// @return false when the request had ended already.
    virtual bool Complete(std::uint32_t error, std::span<const std::uint8_t> output = {}) = 0;
};

/// A driver's control device. The stand-in holds none of its locks during these calls.
class ControlDevice
{
public:
    virtual ~ControlDevice() = default;

    /// A caller opens the device. @return 0, or the error with which CreateFileA fails.
    virtual std::uint32_t Open(std::uint64_t openId);
    /// The last reference to an open handle has gone and its requests have been cancelled.
    virtual void Close(std::uint64_t openId);
    /// A request begins, on the caller's thread. It may be ended here, or kept and ended later from
    /// any thread. A request that is dropped without an end ends with 995.
    virtual void Start(const std::shared_ptr<IoRequest>& request) = 0;
    /// The caller, its thread's end or the close of its handle asks for the cancellation of a
    /// request. It may be ended here, later or never; it goes on using the caller's memory until it
    /// has ended. Comes once for a request, and after its Start has returned. The default ends it with 995 at once.
    virtual void Cancel(const std::shared_ptr<IoRequest>& request);
    /// Changes how a driver that can be steered behaves from now on; keys that are left out stay.
    /// @param settings JSON text in the form that the driver knows.
    /// @return false for a mistake, which is then told at `error`, a buffer of `errorRoom` bytes. The
    ///         default knows no setting.
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
