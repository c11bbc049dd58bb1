/// @file
/// One request in flight, with all memory that the operating system may touch until it has completed.
#pragma once

#include "OSPlatform.h"
#include "ScopedHandle.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

/// How long a cancelled request is awaited. A correct driver completes one within microseconds; the
/// wait only needs to be long enough for a busy machine.
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

/// Whether input and output may be the same memory, which saves a copy's worth of cache and pages.
enum class CallMemory
{
    Shared,  ///< For buffered transfer: the operating system copies the input as the request starts.
    Separate ///< For a driver that has both at the same time.
};

/// How the event of a call is created.
enum class CallEvent
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
    static CDriverCallPtr Make(std::size_t inSize, std::size_t outSize, CallMemory memory, CallEvent event);

    ~CDriverCall() = default;
    CDriverCall(const CDriverCall&) = delete;
    CDriverCall& operator=(const CDriverCall&) = delete;

    std::span<std::byte> Input() const noexcept { return In; }
    std::span<std::byte> Output() const noexcept { return Out; } ///< Null address when it is empty.
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

    /// Output bytes that the operating system has written, for a code with buffered transfer: it copies
    /// the driver's output when the request completes, and none after an error.
    std::size_t CopiedBytes() const noexcept;

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

    CDriverCall(std::size_t inSize, std::size_t outSize, CallMemory memory);
    ULONG_PTR Status() const noexcept;

    /// Requests and responses of a few bytes are the usual ones; they need no allocation.
    static constexpr std::size_t InlineSize = 512;

    OVERLAPPED Overlapped{};
    CEventHandle Completion;
    alignas(std::max_align_t) std::array<std::byte, InlineSize> Inline;
    std::unique_ptr<std::byte[]> Large; ///< Null when all fits into Inline.
    std::span<std::byte> In;
    std::span<std::byte> Out;
    bool Taken = false;
    CDriverCall* NextParked = nullptr; ///< Guarded by the lock of the parked calls.
};

/// Frees the parked calls that have completed meanwhile. Any thread; costs one load when there is none.
void ReleaseCompletedCalls() noexcept;
