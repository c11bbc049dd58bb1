#include "ControlRequest.h"

#include "Diagnosis.h"
#include "Lock.h"
#include "NeverDestroyed.h"

#include <condition_variable>
#include <fmt/core.h>
#include <list>
#include <optional>

namespace
{

/// A request with the memory that the library uses until the request completes.
class PendingRequest
{
public:
    explicit PendingRequest(const ControlRequest& request) : Input(request.Input), Output(request.OutputSize)
    {
        Record.IoctlCode = request.Code;
        Record.RequestId = request.Id;
        Record.InBuffer = Input.data();
        Record.InLength = static_cast<std::uint32_t>(Input.size());
        Record.OutBuffer = Output.data();
        Record.OutLength = request.OutputSize;
        Record.Timeout = request.TimeoutMs;
    }
    // Neither copied nor moved: the record points into the buffers, and the library keeps a pointer to the object.
    PendingRequest(const PendingRequest&) = delete;
    PendingRequest& operator=(const PendingRequest&) = delete;

    /// A synchronous request blocks until the driver's answer or the time-out.
    void Send(CDeviceIntf& device)
    {
        const auto start = Clock::now();
        const unsigned int status = device.SendIOCTLReq(&Record);
        if (status != ZV_SRVC_SUCCESS)
            throw RequestFailure("SendIOCTLReq", status, Clock::now() - start,
                                 std::chrono::milliseconds(Record.Timeout));
    }

    /// After this returns, the object must exist until Await has returned a status.
    void SendWithCallback(CDeviceIntf& device)
    {
        Record.IsAsync = 1;
        Record.NotifyFn = [](void* context, std::uint32_t status, const _ZV_ASYNC_RESULT*) {
            static_cast<PendingRequest*>(context)->Complete(status);
        };
        Record.NotifyContext = this;
        Send(device);
    }

    /// Returns the callback's status, or nothing if it does not arrive in time.
    std::optional<std::uint32_t> Await(std::chrono::milliseconds bound)
    {
        const auto deadline = Clock::now() + bound;
        const ScopedLock guard(Lock);
        // Status is checked again after a time-out, because the callback may have arrived at that moment.
        while (!Status && Completed.wait_until(Lock, deadline) == std::cv_status::no_timeout)
            ;
        return Status;
    }

    Bytes TakeOutput() { return std::move(Output); }

private:
    using Clock = std::chrono::steady_clock;

    /// Notifies while holding the lock: after its release, the main thread may destroy the object.
    void Complete(std::uint32_t status)
    {
        const ScopedLock guard(Lock);
        Status = status;
        Completed.notify_one();
    }

    _ZV_SRVC_IOCTL_REQ Record = {};
    const Bytes Input;
    Bytes Output; ///< Written by the library from the send until the callback.

    AnnotatedMutex Lock;
    std::condition_variable_any Completed;
    std::optional<std::uint32_t> Status ZV_GUARDED_BY(Lock);
};

/// Warns of input that is too long for the 16-bit length field of the driver's request record.
/// @param head number of bytes that the library inserts before the input.
void WarnOfLostLength(std::size_t size, std::size_t head)
{
    const std::size_t most = 0xFFFF - head;
    if (size > most)
        fmt::print(stderr,
                   "zvctl: warning: {} input bytes; the driver sees only 16 bits of the length, enough for {}\n", size,
                   most);
}

/// Size of the record that precedes an item.
constexpr std::size_t ItemHead = 40;

/// Time-out that the library uses for items.
constexpr std::chrono::milliseconds ItemBound{50};

void AccessItem(CDeviceIntf& device, std::uint8_t isSet, std::uint32_t id, Bytes& data, std::uint32_t size)
{
    const auto start = std::chrono::steady_clock::now();
    const unsigned int status = device.SetQueryInfo(isSet, id, data.data(), size);
    if (status != ZV_SRVC_SUCCESS)
        throw RequestFailure("SetQueryInfo", status, std::chrono::steady_clock::now() - start, ItemBound);
}

/// A request that has not completed, and its device: destroying the device would wait for the request.
struct AbandonedRequest
{
    std::unique_ptr<PendingRequest> Request;
    std::shared_ptr<CDeviceIntf> Device;
};

void KeepUntilExit(AbandonedRequest abandoned)
{
    // A late callback still writes to the request.
    static NeverDestroyed<std::list<AbandonedRequest>> kept;
    kept.Object.push_back(std::move(abandoned));
}

} // namespace

void WarnOfLostLength(const ControlRequest& request)
{
    WarnOfLostLength(request.Input.size(), 0);
}

Bytes SendAndWait(CDeviceIntf& device, const ControlRequest& request)
{
    PendingRequest pending(request);
    pending.Send(device);
    return pending.TakeOutput();
}

Bytes SendAndAwaitCallback(const std::shared_ptr<CDeviceIntf>& device, const ControlRequest& request,
                           std::chrono::milliseconds patience)
{
    auto pending = std::make_unique<PendingRequest>(request);
    pending->SendWithCallback(*device);
    const std::chrono::milliseconds bound = std::chrono::milliseconds(request.TimeoutMs) + patience;
    const std::optional<std::uint32_t> status = pending->Await(bound);
    if (!status)
    {
        // The library may complete the request at any later time, so its memory must not be freed here.
        KeepUntilExit({std::move(pending), device});
        throw Failure(
            fmt::format("SendIOCTLReq: no callback within {} ms; a simulated driver never calls back", bound.count()),
            ExitCode::TimedOut, "SendIOCTLReq");
    }
    if (*status != 0)
        // Its time does not tell which, because the callback comes after the collection of the response.
        throw OperationFailed(
            "SendIOCTLReq", *status, ExitCode::Refused,
            fmt::format("the driver refused the request, or did not accept it within {} ms", request.TimeoutMs));
    return pending->TakeOutput();
}

Bytes QueryItem(CDeviceIntf& device, std::uint32_t id, std::uint32_t size)
{
    Bytes data(std::max(size, 1U)); // the library rejects a null buffer
    AccessItem(device, 0, id, data, size);
    // Removes the byte that was added for a size of 0.
    data.resize(size);
    return data;
}

void SetItem(CDeviceIntf& device, std::uint32_t id, Bytes data)
{
    WarnOfLostLength(data.size(), ItemHead);
    const auto size = static_cast<std::uint32_t>(data.size());
    // The size that is passed stays 0; only the pointer must not be null.
    data.resize(std::max(size, 1U));
    AccessItem(device, 1, id, data, size);
}
