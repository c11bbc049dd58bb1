/// @file
/// An opened adapter: requests with memory that stays valid for as long as the library or the driver may use it.
///
///     const HostKit::Device device = HostKit::OpenDevice(*manager, adapter);
///     const HostKit::Bytes answer = device.Send({.Code = 0x222000, .Input = {1, 2}, .OutputSize = 4}).Value();
///     std::future<HostKit::Result> response = device.SendAsync({.Code = 0x222004, .OutputSize = 400});
///     const HostKit::Result item = device.QueryItem(0x10, 6);
#pragma once

#include "Detail/PendingRequests.h"
#include "Requests.h"
#include "Status.h"

#include <CDeviceIntf.h>

#include <cstdint>
#include <future>
#include <limits>
#include <memory>
#include <span>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace HostKit
{

/// An adapter that the host has opened. Copies refer to the same device; the last one releases it. OpenDevice
/// (Adapters.h) creates it.
///
/// Any thread may call any operation at any time. All but the construction, the assignment and the conversion to bool
/// require a device. The library has a thread for each device, which runs asynchronous requests one after the other.
class Device
{
public:
    /// No device.
    Device() = default;

    /// Takes over a device of the library.
    /// @param device the only reference to it. Another reference could keep the device alive while HostKit releases
    ///        memory that the device uses.
    /// @throws std::invalid_argument for a null pointer, and if there is another reference.
    explicit Device(std::shared_ptr<CDeviceIntf>&& device)
    {
        if (device.use_count() != 1)
            throw std::invalid_argument("HostKit::Device needs the only reference to a device");
        Shared = std::make_shared<State>();
        Shared->Library = std::move(device);
    }

    // The destructor of the last copy blocks until the asynchronous requests that still run have completed: for each
    // its time-out, and then 3000 ms + 100 ms after the driver's last response chunk. In a completion callback of the
    // same device it does not block. Futures of requests that never ran then contain operation_canceled.

    /// Returns whether there is a device.
    explicit operator bool() const noexcept { return Shared != nullptr; }

    /// The operations of the library that HostKit does not wrap. Close the device through Close below: after
    /// CDeviceIntf::Close, futures of requests that never ran become ready only when the device is released.
    CDeviceIntf* operator->() const noexcept { return Shared->Library.get(); }
    /// The same.
    CDeviceIntf& operator*() const noexcept { return *Shared->Library; }

    /// Returns a pointer for operations that take one, such as CDeviceManagerIntf::NicChangeState. It counts as a copy
    /// of this object.
    std::shared_ptr<CDeviceIntf> Interface() const noexcept { return {Shared, Shared->Library.get()}; }

    /// Sends a request and waits for the driver.
    /// @return the output, or the error of CDeviceIntf::SendIOCTLReq: ZV_SRVC_ERR_FAILURE if the driver refused the
    ///         request at once or did not complete it in time, ZV_SRVC_ERR_DEVICE_NOT_OPEN for an unusable adapter.
    ///         For the library, a request that the driver completes later with an error has succeeded.
    /// @throws std::bad_alloc
    /// @note Blocks for at most the request's time-out + 100 ms.
    Result Send(const Request& request) const
    {
        Result result{{}, Bytes(request.OutputSize)};
        _ZV_SRVC_IOCTL_REQ record = Detail::MakeRecord(request, result.Output);
        record.RequestId = Shared->Requests.NextId();
        return Finished(Detail::IsTooLong(request) ? ZV_SRVC_ERR_INVALID_PARAMETER : (*this)->SendIOCTLReq(&record),
                        std::move(result));
    }

    /// Sends a request without waiting for the driver. The request's memory belongs to HostKit: it stays valid until
    /// the completion, or until the device is destroyed if the request never runs.
    /// @return becomes ready exactly once, whatever happens. With an error at once if the library refuses the request,
    ///         for example ZV_SRVC_ERR_DEVICE_NOT_OPEN; with ZV_SRVC_ERR_FAILURE if the driver refuses it at once or
    ///         does not complete it in time, as with Send; with operation_canceled when the device is closed or
    ///         released before its thread has started the request. The future may be dropped at any time, which does
    ///         not block.
    /// @throws std::bad_alloc; the request was not accepted then.
    /// @note Does not block. The future is ready at most 3000 ms + 100 ms after the driver's last response chunk. With
    ///       a simulated driver (VirtualDriver_UWP.dll) the library reports no completion, so the future becomes ready
    ///       only when the device is closed or released: use Send there.
    std::future<Result> SendAsync(Request request) const
    {
        return Shared->Requests.Start(*Shared->Library, std::move(request));
    }

    /// Queries an information item of the driver.
    /// @param id number of the item.
    /// @param size bytes to query; the driver answers exactly this many.
    /// @return the item, or the error of CDeviceIntf::SetQueryInfo, such as ZV_SRVC_ERR_DRIVER_REQUEST.
    /// @throws std::bad_alloc
    /// @note Blocks for at most 50 ms + 100 ms, like SetItem.
    Result QueryItem(std::uint32_t id, std::uint32_t size) const { return AccessItem(0, id, Bytes(size)); }

    /// Sets an information item of the driver. @return the error of CDeviceIntf::SetQueryInfo, if any.
    std::error_code SetItem(std::uint32_t id, std::span<const std::uint8_t> data) const
    {
        // A copy, because the library stores the driver's answer in the same memory.
        return AccessItem(1, id, Bytes(data.begin(), data.end())).Error;
    }

    /// Unbinds the device and completes all futures: those of requests that still run with their results, the others
    /// with operation_canceled. Requests fail with ZV_SRVC_ERR_DEVICE_NOT_OPEN afterwards.
    /// @throws std::system_error when called in a completion callback of the same device.
    /// @note Blocks until the asynchronous requests that still run have completed; see the destructor above.
    void Close() const
    {
        // First, so that no request can be added after those that are waiting were cancelled.
        Shared->Requests.Stop();
        (*this)->Close();
        Shared->Requests.CancelAll();
    }

private:
    struct State
    {
        State() = default;
        /// Destroys the device first: until then, its thread may use the requests.
        ~State()
        {
            Library.reset();
            Requests.CancelAll();
        }
        State(const State&) = delete;
        State& operator=(const State&) = delete;

        Detail::PendingRequests Requests;
        std::shared_ptr<CDeviceIntf> Library;
    };

    static Result Finished(unsigned int status, Result&& result)
    {
        if (status == ZV_SRVC_SUCCESS)
            return std::move(result);
        return {MakeError(status), {}};
    }

    Result AccessItem(std::uint8_t isSet, std::uint32_t id, Bytes&& data) const
    {
        if (data.size() > std::numeric_limits<std::uint32_t>::max())
            return Finished(ZV_SRVC_ERR_DRIVER_REQUEST, {});
        const auto size = static_cast<std::uint32_t>(data.size());
        data.reserve(1); // the library sends nothing for a null pointer
        const unsigned int status = (*this)->SetQueryInfo(isSet, id, data.data(), size);
        return Finished(status, {{}, std::move(data)});
    }

    std::shared_ptr<State> Shared;
};

} // namespace HostKit
