/// @file
/// One request in flight, with all memory that the operating system may touch until it has completed.
#pragma once

#include "OSPlatform.h"
#include "ScopedHandle.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

/// How long a cancelled request is waited for. A sound driver completes one within microseconds; the
/// wait only has to be long enough for a busy machine.
inline constexpr std::chrono::milliseconds ZV_CANCEL_WAIT{100};

/// The end of a wait that starts now.
inline std::chrono::steady_clock::time_point CancelDeadline()
{
    return std::chrono::steady_clock::now() + ZV_CANCEL_WAIT;
}

class CDriverCall;

/// Destroys a completed call and parks any other.
struct CParkUnlessCompleted
{
    void operator()(CDriverCall* call) const noexcept;
};

using CDriverCallPtr = std::unique_ptr<CDriverCall, CParkUnlessCompleted>;

/// How the event of a call is created.
enum class CCallEvent
{
    ManualSignalled,
    AutoNotSignalled
};

/// A request to a driver: overlapped record, event, input and output. Used by one thread at a time.
///
/// Dropping a call never frees memory that a driver still uses: a call that has not completed is
/// parked, which takes no memory, and ReleaseCompletedCalls frees it later. A driver that never
/// completes a request therefore costs its memory and nothing else.
class CDriverCall
{
public:
    /// Allocates the memory, whose content is undefined, and creates the event. Sends nothing.
    static CDriverCallPtr Make(std::size_t inSize, std::size_t outSize, CCallEvent event);

    ~CDriverCall() = default;
    CDriverCall(const CDriverCall&) = delete;
    CDriverCall& operator=(const CDriverCall&) = delete;

    std::span<std::byte> Input() const noexcept { return {InBytes.get(), InSize}; }
    std::span<std::byte> Output() const noexcept { return {OutBytes.get(), OutSize}; }
    /// Null when the event could not be created.
    HANDLE Event() const noexcept { return Completion.Get(); }

    /// Hands the request to the driver. May be repeated after the request has completed.
    /// @return the result of the platform call: 0, ERROR_IO_PENDING, or the reason of a refusal.
    std::uint32_t Start(HANDLE handle, std::uint32_t code);

    /// True when the last Start reached the driver: the request completed at once, is in flight, or
    /// completed at once with a warning.
    bool WasTaken() const noexcept { return Taken; }

    /// False while the operating system may touch the memory. The record's status decides, since a
    /// driver can complete a request with any error number, those of an unfinished request included.
    bool HasCompleted() const noexcept { return !Taken || Status() != STATUS_PENDING; }

    /// Waits until the request has completed.
    /// @return false when it has not by the deadline.
    bool AwaitCompletion(std::chrono::steady_clock::time_point deadline) const;

    /// Cancels this request alone.
    void Cancel(HANDLE handle) noexcept { CancelIoEx(handle, &Overlapped); }

    /// Reads the outcome of a completed request.
    /// @param bytes receives the number of output bytes, at most the size of the output.
    /// @return false when the driver completed it with an error or a warning.
    bool Result(HANDLE handle, std::size_t& bytes);

private:
    friend struct CParkUnlessCompleted;
    friend void ReleaseCompletedCalls() noexcept;

    CDriverCall(std::size_t inSize, std::size_t outSize);
    ULONG_PTR Status() const noexcept;

    OVERLAPPED Overlapped{};
    CEventHandle Completion;
    const std::size_t InSize;
    const std::size_t OutSize;
    const std::unique_ptr<std::byte[]> InBytes;
    const std::unique_ptr<std::byte[]> OutBytes; ///< Null when nothing is expected.
    bool Taken = false;
    CDriverCall* NextParked = nullptr; ///< Guarded by the lock of the parked calls.
};

/// Frees the parked calls that have completed meanwhile. Any thread; costs one load when there is none.
void ReleaseCompletedCalls() noexcept;
