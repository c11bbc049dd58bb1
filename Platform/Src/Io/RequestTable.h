/// @file
/// Control requests in flight.
#pragma once

#include "ControlDevice.h"
#include "DeviceIo.h"
#include "FileHandle.h"

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace Platform
{

/// The caller's side of a request: what may be touched until it has ended.
struct CallerMemory
{
    void* Output;
    std::size_t Room;
    OVERLAPPED* Record;
    std::shared_ptr<Waitable> Done; ///< Signalled at the end.
};

struct RequestEnd
{
    DWORD Error;
    std::size_t Bytes;
};

/// Its maker adds it to the table; it leaves by itself as it ends.
class Request final : public IoRequest, public std::enable_shared_from_this<Request>
{
public:
    Request(std::shared_ptr<OpenFile> file, std::uint64_t thread, DWORD code, std::span<const std::uint8_t> input,
            CallerMemory caller);
    /// A driver that drops a request has ended it.
    ~Request() override;

    std::uint32_t Code() const override { return ControlCode; }
    std::span<const std::uint8_t> Input() const override { return InputCopy; }
    std::size_t OutputRoom() const override { return Caller.Room; }
    std::uint64_t OpenId() const override { return FileId; }
    bool IsCancelRequested() const override;
    bool Complete(std::uint32_t error, std::span<const std::uint8_t> output) override;

    /// The device has returned from Start. Empty for a request that is in flight from now on, or was
    /// until another thread ended it; a cancellation that was asked for meanwhile reaches the device now, never before
    /// its Start.
    std::optional<RequestEnd> LeaveStart();
    /// Notifies the device of the cancellation, once.
    void AskCancel();

    // Constant.
    const std::shared_ptr<DeviceGate> Gate;
    const std::uint64_t FileId;
    const std::uint64_t Thread; ///< Number of the thread that began it.
    const std::thread::id Starter = std::this_thread::get_id();
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
    void Deliver(std::span<const std::uint8_t> output);

    mutable std::mutex Lock;
    // All guarded by Lock.
    std::shared_ptr<OpenFile> File; // null when it has ended
    Phase Now = Phase::Starting;
    bool CancelAsked = false;
    bool EndedInStart = false;
    RequestEnd End{};

    std::uint64_t Number = 0;        // grows with each request of the process; constant once it is in the table
    std::list<Request*> Place{this}; // its own while it is not in the table, so that adding cannot fail
    const std::list<Request*>::iterator InTable = Place.begin(); // stays good as the node moves
};

/// All requests of the process between their start and their end. Thread-safe.
class RequestTable
{
public:
    static RequestTable& Instance();

    void Add(Request& request);
    void Remove(Request& request);
    std::size_t Count() const;

    /// Cancels the matching requests, oldest first; the filter reads only constant fields.
    /// @return how many there were.
    template <class Matches>
    std::size_t Cancel(Matches matches)
    {
        // One at a time, since a list of them would need memory, which a closing call must not fail for.
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

    /// The first one that matches and whose number is above `from` and at most `last`; null for none.
    template <class Matches>
    std::shared_ptr<Request> Next(std::uint64_t from, std::uint64_t last, Matches& matches) const
    {
        const std::lock_guard lock(Lock);
        for (Request* request : Requests)
        {
            if (request->Number > from && request->Number <= last && matches(*request))
            {
                // One that its driver has just dropped cannot be held any more, and ends without help.
                if (std::shared_ptr<Request> held = request->weak_from_this().lock())
                    return held;
            }
        }
        return nullptr;
    }

    mutable std::mutex Lock; // may be taken under a request's lock, never around one
    // Both guarded by Lock; a request leaves before it is destroyed.
    std::list<Request*> Requests;
    std::uint64_t Last = 0;
};

} // namespace Platform
