/// @file
/// The interface of a driver: an object that receives each control request of a named device and completes it
/// whenever it chooses.
#pragma once

#include "PlatformExport.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace Platform
{

/// One control request until its completion. Transfer is buffered: the driver reads a copy of the caller's input,
/// and its output reaches the caller's memory on completion.
/// Thread-safe.
class IoRequest
{
public:
    /// Completes the request with 995 if nothing else has.
    virtual ~IoRequest() = default;

    /// Returns the control code.
    virtual std::uint32_t Code() const = 0;
    /// Returns the caller's input. Valid as long as the request exists.
    virtual std::span<const std::uint8_t> Input() const = 0;
    /// Returns the capacity of the caller's buffer in bytes.
    virtual std::size_t OutputRoom() const = 0;
    /// Identifies the open handle that the request came through.
    virtual std::uint64_t OpenId() const = 0;
    /// Reports a cancellation, even before Cancel is called.
    virtual bool IsCancelRequested() const = 0;

    /// Completes the request; only the first call counts. May call the device's Close, so a driver must
    /// hold no lock around it. An error from inside ControlDevice::Start, on its thread, is an immediate
    /// refusal: the caller's event is not set and its byte count is unchanged.
    /// @param error platform error number, 0 for success, 995 for a cancelled request.
    /// @param output copied to the caller's buffer, cut to its size; ignored with an error other than
    ///        234 (ERROR_MORE_DATA).
    /// @return false when the request had completed already.
    virtual bool Complete(std::uint32_t error, std::span<const std::uint8_t> output = {}) = 0;

    /// Returns whether the machine needs to be notified of stored data that the request changes: other processes share
    /// it, or its changes are recorded. The driver then calls ShareState instead of changing the data.
    virtual bool SharesState() const { return false; }
    /// Has the machine apply settings to the device, in every process that shares the machine. Does not block.
    /// @param settings for ControlDevice::Configure, such as the item that the request has written.
    /// @param done called once, with 0 or the error with which to complete the request, perhaps before this returns,
    ///        and on any thread. Call without a lock that Configure takes.
    virtual void ShareState(const std::string& settings, std::function<void(std::uint32_t error)> done);
};

inline void IoRequest::ShareState(const std::string& /*settings*/, std::function<void(std::uint32_t error)> done)
{
    done(0);
}

/// A driver's control device. The stand-in holds no lock during these calls. They come from the caller's threads,
/// several at a time.
class ControlDevice
{
public:
    /// Called when the machine and all callers have released the device.
    virtual ~ControlDevice() = default;

    /// Called when a caller opens the device.
    /// @param openId identifies the handle; never reused.
    /// @return 0, or the error with which CreateFileA fails.
    virtual std::uint32_t Open(std::uint64_t openId);
    /// Called when the last reference to an open handle is dropped and its requests have been cancelled.
    virtual void Close(std::uint64_t openId);
    /// Receives a request, on the caller's thread. The driver completes it here, or keeps a reference and completes
    /// it later on any thread. A request whose last reference is dropped completes with 995.
    virtual void Start(const std::shared_ptr<IoRequest>& request) = 0;
    /// Called when the caller cancels a request, its thread ends or its handle is closed: once per request,
    /// after its Start has returned. The driver may complete the request now, later or never; until then it
    /// may use the caller's memory. The default completes it with 995.
    virtual void Cancel(const std::shared_ptr<IoRequest>& request);
    /// Changes the driver's behaviour at run time; settings that are left out stay unchanged.
    /// @param settings JSON text in the driver's own format.
    /// @param error receives a text that describes an invalid setting.
    /// @param errorRoom capacity of `error` in bytes.
    /// @return false for an invalid setting. The default accepts no settings.
    virtual bool Configure(const char* settings, char* error, std::size_t errorRoom);
    /// Called when the caller closes its handle, after the cancellation of its requests in flight. Close is called
    /// only after the last of them has completed, so a driver that holds cancelled requests completes them here.
    virtual void Cleanup(std::uint64_t openId);
    /// Returns the current behaviour and stored data as JSON text that Configure accepts, so that another process can
    /// create an equal device. The default returns an empty text: there is nothing to copy.
    virtual std::string State() const { return {}; }
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
    std::snprintf(error, errorRoom, "this driver accepts no settings");
    return false;
}

inline void ControlDevice::Cleanup(std::uint64_t /*openId*/) {}

/// What a loadable driver exports under the name "CreateControlDevice". A machine file names the
/// module; the machine owns the result.
/// @param deviceName the name under which the device will be opened, without the leading "\\.\".
/// @param settings the settings of the machine file for this device as JSON text, "{}" if there are none.
/// @param error receives a text that describes invalid settings.
/// @param errorRoom capacity of `error` in bytes.
/// @return null for invalid settings.
using CreateControlDeviceFunction = ControlDevice* (*)(const char* deviceName, const char* settings, char* error,
                                                       std::size_t errorRoom);

/// Loads a driver and has it create a device, as a machine file does. The driver stays loaded until the process ends.
/// @param module file name, such as "ZVDriverModel.dll". A name without a folder is searched for in the folder of the
///        program, in the current folder, in the folder of the stand-in's library and by the loader.
/// @param deviceName the name under which the caller attaches the device; see Machine::AttachDevice.
/// @param settings JSON text in the driver's own format.
/// @throws std::runtime_error that says why there is no device: the module cannot be loaded or rejects the settings.
PLATFORM_API std::shared_ptr<ControlDevice> LoadControlDevice(const std::string& module, const std::string& deviceName,
                                                              const std::string& settings = "{}");

} // namespace Platform
