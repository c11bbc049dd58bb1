/// @file
/// Control requests in flight.
#pragma once

#include "AnnotatedLock.h"
#include "CallActivity.h"
#include "ControlDevice.h"
#include "DeviceGate.h"
#include "DeviceIo.h"

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace Platform
{

/// Guards the table and the places of requests in it. May be taken inside a request's lock, never outside one.
inline constinit Mutex RequestTableLock;

/// The caller's memory of a request. It may be written until the request has completed.
struct CallerMemory
{
    void* Output;
    std::size_t Room;
    OVERLAPPED* Record;
    std::shared_ptr<Waitable> Done; ///< Signalled on completion.
};

/// How a request completed.
struct RequestEnd
{
    DWORD Error;
    std::size_t Bytes;
};

/// Returns the number that "/proc" shows for the calling thread.
std::uint32_t KernelThreadId();

/// A control request. Its creator adds it to the table; completion removes it.
class Request final : public IoRequest, public std::enable_shared_from_this<Request>
{
public:
    Request(std::shared_ptr<OpenFile> file, std::uint64_t thread, DWORD code, std::span<const std::uint8_t> input,
            CallerMemory caller);
    /// Completes the request if the driver has dropped its last reference without completing it.
    ~Request() override;

    std::uint32_t Code() const override { return ControlCode; }
    std::span<const std::uint8_t> Input() const override { return InputCopy; }
    std::size_t OutputRoom() const override { return Caller.Room; }
    std::uint64_t OpenId() const override { return FileId; }
    bool IsCancelRequested() const override;
    bool Complete(std::uint32_t error, std::span<const std::uint8_t> output) override;
    bool SharesState() const override;
    void ShareState(const std::string& settings, std::function<void(std::uint32_t error)> done) override;

    /// Called when the device has returned from Start. A cancellation that was asked for meanwhile reaches the
    /// device now, because a driver must not receive it before its Start.
    /// @return the result if the driver completed the request inside Start. Empty if the request is in flight, or
    ///         another thread has completed it: DeviceIoControl then reports it as pending.
    std::optional<RequestEnd> LeaveStart();
    /// Notifies the device of the cancellation, once.
    void AskCancel();

    // Constant.
    const std::shared_ptr<DeviceGate> Gate;
    const std::uint64_t FileId;
    const std::uint64_t Thread; ///< Number of the thread that sent it.
    const std::thread::id Starter = std::this_thread::get_id();
    const std::uint32_t ThreadId = KernelThreadId();
    /// On the monotonic clock. The call that sends the request has just read it.
    const std::int64_t StartNs = CallActivity::LastCallNs.load(std::memory_order_relaxed);
    const DWORD ControlCode;
    const std::vector<std::uint8_t> InputCopy;
    const CallerMemory Caller;

private:
    friend class RequestTable;
    enum class Phase
    {
        Starting,
        InFlight,
        Ended
    };

    void PassCancel(const std::shared_ptr<OpenFile>& file);
    bool Finish(std::uint32_t error, std::span<const std::uint8_t> output);
    void Deliver(std::span<const std::uint8_t> output) PLATFORM_REQUIRES(Lock);

    mutable Mutex Lock;
    std::shared_ptr<OpenFile> File PLATFORM_GUARDED_BY(Lock); // null once completed
    Phase Now PLATFORM_GUARDED_BY(Lock) = Phase::Starting;
    bool CancelAsked PLATFORM_GUARDED_BY(Lock) = false;
    bool EndedInStart PLATFORM_GUARDED_BY(Lock) = false;
    RequestEnd End PLATFORM_GUARDED_BY(Lock){};

    std::uint64_t Number = 0; // grows with each request of the process; constant once in the table
    // Owns the node while the request is not in the table, so that adding it cannot fail.
    std::list<Request*> Place PLATFORM_GUARDED_BY(RequestTableLock){this};
    const std::list<Request*>::iterator InTable = Place.begin(); // stays valid when the node moves
};

/// All requests of the process between their start and their completion. Thread-safe.
class RequestTable
{
public:
    static RequestTable& Instance();

    void Add(Request& request);
    void Remove(Request& request);
    std::size_t Count() const;

    /// Visits the requests, oldest first. The visitor runs under the lock and may read only constant fields.
    template <class Visitor>
    void ForAll(Visitor visit) const
    {
        const ScopedLock lock(RequestTableLock);
        for (const Request* request : Requests)
            visit(*request);
    }

    /// Cancels the matching requests, oldest first. The filter runs under the lock and may read only constant
    /// fields. @return how many requests were cancelled.
    template <class Matches>
    std::size_t Cancel(Matches matches)
    {
        // One at a time: a list of them would need memory, and CloseHandle must not fail for lack of it. The
        // bound excludes requests that a driver sends while it handles a cancellation.
        std::size_t count = 0;
        const std::uint64_t last = LastNumber();
        std::uint64_t from = 0;
        while (const std::shared_ptr<Request> next = Next(from, last, matches))
        {
            from = next->Number;
            next->AskCancel();
            ++count;
        }
        return count;
    }

private:
    std::uint64_t LastNumber() const;

    /// Returns the first match with a number above `from` and at most `last`, or null.
    template <class Matches>
    std::shared_ptr<Request> Next(std::uint64_t from, std::uint64_t last, Matches& matches) const
    {
        const ScopedLock lock(RequestTableLock);
        for (Request* request : Requests)
        {
            if (request->Number > from && request->Number <= last && matches(*request))
            {
                // A request that its driver has just dropped cannot be locked any more; its destructor completes it.
                if (std::shared_ptr<Request> held = request->weak_from_this().lock())
                    return held;
            }
        }
        return nullptr;
    }

    std::list<Request*> Requests PLATFORM_GUARDED_BY(RequestTableLock); // each leaves before it is destroyed
    std::uint64_t Last PLATFORM_GUARDED_BY(RequestTableLock) = 0;
};

} // namespace Platform
