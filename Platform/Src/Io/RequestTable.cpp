#include "RequestTable.h"

#include "DeviceNames.h"
#include "IoStatus.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace Platform
{

std::uint32_t KernelThreadId()
{
    // A system call for each request would be noticeable.
    thread_local const auto id = static_cast<std::uint32_t>(gettid());
    return id;
}

Request::Request(std::shared_ptr<OpenFile> file, std::uint64_t thread, DWORD code, std::span<const std::uint8_t> input,
                 CallerMemory caller)
    : Gate(file->Gate), FileId(file->OpenId), Thread(thread), ControlCode(code), InputCopy(input.begin(), input.end()),
      Caller(std::move(caller)), File(std::move(file))
{
    // Before the driver receives the request, which may signal the event at once.
    Caller.Done->Reset();
    std::atomic_ref(Caller.Record->Internal).store(STATUS_PENDING, std::memory_order_relaxed);
}

// The table holds no references, so a request that its driver drops is destroyed here while it is still in the table.
Request::~Request()
{
    Complete(ERROR_OPERATION_ABORTED, {});
}

bool Request::IsCancelRequested() const
{
    const ScopedLock lock(Lock);
    return CancelAsked;
}

bool Request::Complete(std::uint32_t error, std::span<const std::uint8_t> output)
{
    if (!Finish(error, output))
        return false;
    // Without the request's lock: the record is passed to the machine.
    if (RequestsAreRecorded.load(std::memory_order_relaxed))
    {
        const auto sent = IsFailure(error) ? std::span<const std::uint8_t>() : output;
        RecordRequest({.Device = Gate->Name,
                       .Code = ControlCode,
                       .Input = InputCopy,
                       .Output = sent.first(std::min(sent.size(), Caller.Room)),
                       .OutputRoom = static_cast<std::uint32_t>(Caller.Room),
                       .Error = error,
                       .StartNs = StartNs,
                       .ThreadId = ThreadId});
    }
    return true;
}

/// Returns false if the request has been completed before.
bool Request::Finish(std::uint32_t error, std::span<const std::uint8_t> output)
{
    std::shared_ptr<OpenFile> released; // may be the last reference: closes the device after the lock is released
    const ScopedLock lock(Lock);
    if (Now == Phase::Ended)
        return false;
    // Another thread can complete it only if the driver has kept it, so for the caller it was in flight.
    EndedInStart = Now == Phase::Starting && std::this_thread::get_id() == Starter;
    // As on Windows, a refusal is the result of DeviceIoControl only: the event is not signalled.
    const bool refused = EndedInStart && IsFailure(error);
    Now = Phase::Ended;
    End = {error, IsFailure(error) ? 0 : std::min(output.size(), Caller.Room)};
    released = std::move(File);
    // First, because the request must no longer count as in flight once the caller sees its completion.
    RequestTable::Instance().Remove(*this);
    if (!refused)
        Deliver(output);
    return true;
}

bool Request::SharesState() const
{
    return Platform::SharesState();
}

void Request::ShareState(const std::string& settings, std::function<void(std::uint32_t error)> done)
{
    Gate->Visit([&](ControlDevice& device) { Platform::ShareState(device, settings, done); });
}

// The status is stored last, with release order: as soon as the caller reads it, it may free its memory. The event
// has an owner of its own.
void Request::Deliver(std::span<const std::uint8_t> output)
{
    if (End.Bytes != 0)
        std::memcpy(Caller.Output, output.data(), End.Bytes);
    std::atomic_ref(Caller.Record->InternalHigh).store(End.Bytes, std::memory_order_relaxed);
    std::atomic_ref(Caller.Record->Internal).store(StatusOf(End.Error), std::memory_order_release);
    Caller.Done->Signal();
}

std::optional<RequestEnd> Request::LeaveStart()
{
    std::shared_ptr<OpenFile> file;
    {
        const ScopedLock lock(Lock);
        if (Now == Phase::Ended)
            return EndedInStart ? std::optional(End) : std::nullopt;
        Now = Phase::InFlight;
        file = CancelAsked ? File : nullptr; // a cancellation during Start was only recorded
    }
    PassCancel(file);
    return std::nullopt;
}

void Request::AskCancel()
{
    std::shared_ptr<OpenFile> file;
    {
        const ScopedLock lock(Lock);
        file = Now == Phase::InFlight && !CancelAsked ? File : nullptr;
        CancelAsked = true;
    }
    PassCancel(file);
}

// `file` keeps the device open during the cancellation. No lock is held, because the driver may complete the request.
void Request::PassCancel(const std::shared_ptr<OpenFile>& file)
{
    if (file && !Gate->Visit([this](ControlDevice& device) { device.Cancel(shared_from_this()); }))
        Complete(ERROR_OPERATION_ABORTED,
                 {}); // the driver gets no second cancellation, so nobody else would complete it
}

RequestTable& RequestTable::Instance()
{
    // Never destroyed: threads may call while the process ends.
    static RequestTable& table = *new RequestTable;
    return table;
}

void RequestTable::Add(Request& request)
{
    const ScopedLock lock(RequestTableLock);
    request.Number = ++Last;
    // Moves the request's own list node, which needs no memory and therefore cannot fail.
    Requests.splice(Requests.end(), request.Place);
}

void RequestTable::Remove(Request& request)
{
    const ScopedLock lock(RequestTableLock);
    request.Place.splice(request.Place.end(), Requests, request.InTable);
}

std::size_t RequestTable::Count() const
{
    const ScopedLock lock(RequestTableLock);
    return Requests.size();
}

std::uint64_t RequestTable::LastNumber() const
{
    const ScopedLock lock(RequestTableLock);
    return Last;
}

} // namespace Platform
