#include "ControlRequest.h"

#include "Errors.h"
#include "NeverDestroyed.h"

#include <condition_variable>
#include <fmt/format.h>
#include <list>
#include <mutex>
#include <optional>
#include <stdexcept>

namespace
{

/// A request with all memory that it lends to the library, at one address for as long as it takes.
class LentRequest
{
public:
    explicit LentRequest(const ControlRequest& request) : Input(request.Input), Output(request.OutputSize)
    {
        Record.IoctlCode = request.Code;
        Record.RequestId = request.Id;
        Record.InBuffer = Input.data();
        Record.InLength = static_cast<std::uint32_t>(Input.size());
        Record.OutBuffer = Output.data();
        Record.OutLength = request.OutputSize;
        Record.Timeout = request.TimeoutMs;
    }
    LentRequest(const LentRequest&) = delete;
    LentRequest& operator=(const LentRequest&) = delete;

    void Send(CDeviceIntf& device) { Require("SendIOCTLReq", device.SendIOCTLReq(&Record)); }

    void SendWithCallback(CDeviceIntf& device)
    {
        Record.IsAsync = 1;
        Record.NotifyFn = [](void* context, std::uint32_t status, const _ZV_ASYNC_RESULT*) {
            static_cast<LentRequest*>(context)->Complete(status);
        };
        Record.NotifyContext = this;
        Send(device);
    }

    /// @return the callback's status; nothing when it did not come in time.
    std::optional<std::uint32_t> Await(std::chrono::milliseconds bound)
    {
        std::unique_lock guard(Lock);
        Completed.wait_for(guard, bound, [this] { return Status.has_value(); });
        return Status;
    }

    Bytes TakeOutput() { return std::move(Output); }

private:
    /// Wakes while holding the lock: once it is released, the object may be destroyed.
    void Complete(std::uint32_t status)
    {
        const std::scoped_lock guard(Lock);
        Status = status;
        Completed.notify_one();
    }

    _ZV_SRVC_IOCTL_REQ Record = {};
    const Bytes Input;
    Bytes Output; ///< The library's from the send until the callback.

    std::mutex Lock; ///< Guards Status.
    std::condition_variable Completed;
    std::optional<std::uint32_t> Status;
};

/// The driver's record of a request has 16 bits for the length of the input.
/// @param head bytes that the library puts before the input.
void WarnOfLostLength(std::size_t size, std::size_t head)
{
    const std::size_t most = 0xFFFF - head;
    if (size > most)
        fmt::print(stderr,
                   "zvctl: warning: {} input bytes; the driver sees only 16 bits of the length, enough for {}\n", size,
                   most);
}

constexpr std::size_t ItemHead = 40; // of the record around an item

/// What the library was lent and has not given back. Dropping the device would wait for the request.
struct Abandoned
{
    std::unique_ptr<LentRequest> Request;
    std::shared_ptr<CDeviceIntf> Device;
};

void Abandon(Abandoned abandoned)
{
    static NeverDestroyed<std::list<Abandoned>> kept;
    kept.Object.push_back(std::move(abandoned));
}

} // namespace

Bytes SendAndWait(CDeviceIntf& device, const ControlRequest& request)
{
    WarnOfLostLength(request.Input.size(), 0);
    LentRequest lent(request);
    lent.Send(device);
    return lent.TakeOutput();
}

Bytes SendAndAwaitCallback(const std::shared_ptr<CDeviceIntf>& device, const ControlRequest& request,
                           std::chrono::milliseconds patience)
{
    WarnOfLostLength(request.Input.size(), 0);
    auto lent = std::make_unique<LentRequest>(request);
    lent->SendWithCallback(*device);
    const std::chrono::milliseconds bound = std::chrono::milliseconds(request.TimeoutMs) + patience;
    const std::optional<std::uint32_t> status = lent->Await(bound);
    if (!status)
    {
        Abandon({std::move(lent), device});
        throw std::runtime_error(
            fmt::format("SendIOCTLReq: no callback within {} ms; a simulated driver never calls back", bound.count()));
    }
    if (*status != 0)
        throw std::runtime_error(
            fmt::format("SendIOCTLReq: the callback reports status {}; the request could not be sent", *status));
    return lent->TakeOutput();
}

Bytes QueryItem(CDeviceIntf& device, std::uint32_t id, std::uint32_t size)
{
    Bytes data(std::max(size, 1U)); // the library sends nothing without memory
    Require("SetQueryInfo", device.SetQueryInfo(0, id, data.data(), size));
    data.resize(size);
    return data;
}

void SetItem(CDeviceIntf& device, std::uint32_t id, Bytes data)
{
    WarnOfLostLength(data.size(), ItemHead);
    const auto size = static_cast<std::uint32_t>(data.size());
    data.resize(std::max(size, 1U));
    Require("SetQueryInfo", device.SetQueryInfo(1, id, data.data(), size));
}
