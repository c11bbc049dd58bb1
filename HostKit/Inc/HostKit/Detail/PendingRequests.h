/// @file
/// Asynchronous requests with the memory that the library and the driver use. For Device.h only.
#pragma once

#include "../Requests.h"

#include <CDeviceIntf.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <future>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

namespace HostKit::Detail
{

/// An asynchronous request with everything that the library and the driver use.
struct PendingRequest;

/// The asynchronous requests of one device that the library may still use, by RequestId. Thread-safe. The lock is not
/// held during a call of the library.
class PendingRequests
{
public:
    PendingRequests() = default;
    PendingRequests(const PendingRequests&) = delete;
    PendingRequests& operator=(const PendingRequests&) = delete;

    std::uint16_t NextId()
    {
        const std::lock_guard guard(Lock);
        return UnusedId();
    }
    std::future<Result> Start(CDeviceIntf& device, Request request);
    /// Refuses further requests.
    void Stop()
    {
        const std::lock_guard guard(Lock);
        Stopped = true;
    }
    /// Completes the futures of all requests with operation_canceled. Keeps the memory.
    void CancelAll();

private:
    static constexpr std::size_t MostRequests = 0xFFFE; ///< Leaves an id for a synchronous request; 0 is not used.

    static void OnCompleted(void* context, std::uint32_t status, const _ZV_ASYNC_RESULT* result);

    std::uint16_t UnusedId();
    unsigned int Add(std::unique_ptr<PendingRequest>& request);
    std::unique_ptr<PendingRequest> Remove(std::uint16_t id);
    unsigned int Send(CDeviceIntf& device, std::unique_ptr<PendingRequest>& request);

    std::mutex Lock;
    std::map<std::uint16_t, std::unique_ptr<PendingRequest>> Requests;
    std::uint16_t LastId = 0;
    bool Stopped = false;
};

struct PendingRequest
{
    PendingRequest(PendingRequests& owner, Request&& request)
        : Owner(owner), Content(std::move(request)), Answer{{}, Bytes(Content.OutputSize)}
    {
    }

    PendingRequests& Owner;
    const Request Content;
    Result Answer; ///< The driver writes to its output.
    _ZV_SRVC_IOCTL_REQ Record{};
    std::optional<std::promise<Result>> Promise{std::in_place}; ///< Guarded by the owner's lock; empty once fulfilled.
};

/// Fills the library's record of a request. The record refers to the memory of both arguments.
inline _ZV_SRVC_IOCTL_REQ MakeRecord(const Request& request, Bytes& output)
{
    constexpr std::int64_t longest = 0xFFFFFFFE; // one more would wait without limit
    _ZV_SRVC_IOCTL_REQ record{};
    record.IoctlCode = request.Code;
    record.InBuffer = request.Input.data();
    record.InLength = static_cast<std::uint32_t>(request.Input.size());
    record.OutBuffer = output.data();
    record.OutLength = request.OutputSize;
    record.Timeout = static_cast<std::uint32_t>(std::clamp<std::int64_t>(request.Timeout.count(), 0, longest));
    return record;
}

inline bool IsTooLong(const Request& request)
{
    return request.Input.size() > std::numeric_limits<std::uint32_t>::max();
}

inline std::uint16_t PendingRequests::UnusedId()
{
    do
        ++LastId;
    while (LastId == 0 || Requests.contains(LastId));
    return LastId;
}

/// Takes over the request under a new id if the result is ZV_SRVC_SUCCESS.
inline unsigned int PendingRequests::Add(std::unique_ptr<PendingRequest>& request)
{
    const std::lock_guard guard(Lock);
    if (Stopped)
        return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    if (Requests.size() >= MostRequests)
        return ZV_SRVC_ERR_ASYNC_PENDING;
    const std::uint16_t id = UnusedId();
    request->Record.RequestId = id;
    Requests.emplace(id, std::move(request));
    return ZV_SRVC_SUCCESS;
}

inline std::unique_ptr<PendingRequest> PendingRequests::Remove(std::uint16_t id)
{
    const std::lock_guard guard(Lock);
    auto entry = Requests.extract(id);
    return entry.empty() ? nullptr : std::move(entry.mapped());
}

/// @param request given back if the library has not accepted it.
inline unsigned int PendingRequests::Send(CDeviceIntf& device, std::unique_ptr<PendingRequest>& request)
{
    _ZV_SRVC_IOCTL_REQ& record = request->Record;
    if (const unsigned int refusal = Add(request); refusal != ZV_SRVC_SUCCESS)
        return refusal;
    const std::uint16_t id = record.RequestId;
    try
    {
        const unsigned int status = device.SendIOCTLReq(&record);
        // An accepted request may have completed already, so it is not used from here on.
        if (status != ZV_SRVC_SUCCESS)
            request = Remove(id);
        return status;
    }
    catch (...)
    {
        Remove(id);
        throw;
    }
}

inline std::future<Result> PendingRequests::Start(CDeviceIntf& device, Request request)
{
    const bool isTooLong = IsTooLong(request);
    auto pending = std::make_unique<PendingRequest>(*this, std::move(request));
    pending->Record = MakeRecord(pending->Content, pending->Answer.Output);
    pending->Record.IsAsync = 1;
    pending->Record.NotifyFn = &PendingRequests::OnCompleted;
    pending->Record.NotifyContext = pending.get();
    std::future<Result> future = pending->Promise->get_future();
    unsigned int status = isTooLong ? ZV_SRVC_ERR_INVALID_PARAMETER : Send(device, pending);
    // The host may have sent a request with this id itself. Such requests are few.
    for (int tries = 0; tries < 100 && status == ZV_SRVC_ERR_ASYNC_PENDING && pending != nullptr; ++tries)
        status = Send(device, pending);
    // The promise is empty if the device was closed in the meantime.
    if (pending != nullptr && pending->Promise)
        pending->Promise->set_value({MakeError(status), {}});
    return future;
}

/// Runs on the device's thread.
inline void PendingRequests::OnCompleted(void* context, std::uint32_t status, const _ZV_ASYNC_RESULT* /*result*/)
{
    auto& completed = *static_cast<PendingRequest*>(context);
    const auto request = completed.Owner.Remove(completed.Record.RequestId);
    request->Answer.Error = MakeError(status);
    if (status != ZV_SRVC_SUCCESS)
        request->Answer.Output.clear();
    if (request->Promise)
        request->Promise->set_value(std::move(request->Answer));
}

inline void PendingRequests::CancelAll()
{
    const std::lock_guard guard(Lock);
    for (auto& [id, request] : Requests)
        if (request->Promise)
        {
            request->Promise->set_value({std::make_error_code(std::errc::operation_canceled), {}});
            request->Promise.reset();
        }
}

} // namespace HostKit::Detail
