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

/// How long to wait for a cancelled request. A correct driver completes it within microseconds; the rest
/// is reserve for a busy machine.
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

/// Whether input and output share memory, which halves the memory of a request.
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
/// Releasing a call never frees memory that a driver still uses. A call that has not completed is parked,
/// which allocates nothing, and ReleaseCompletedCalls frees it later. A driver that never completes a
/// request costs the memory of that request and nothing else.
class CDriverCall
{
public:
    /// Allocates the memory, whose content is undefined, and creates the event. Sends nothing.
    static CDriverCallPtr Make(std::size_t inSize, std::size_t outSize, CallMemory memory, CallEvent event);

    ~CDriverCall() = default;
    CDriverCall(const CDriverCall&) = delete;
    CDriverCall& operator=(const CDriverCall&) = delete;

    std::span<std::byte> Input() const noexcept { return In; }
    std::span<std::byte> Output() const noexcept { return Out; } ///< Has a null address when empty.
    /// Null when the event could not be created.
    HANDLE Event() const noexcept { return Completion.Get(); }

    /// Sends the request to the driver. May be repeated after the request has completed.
    /// @return 0, ERROR_IO_PENDING, or the error number of a refusal.
    std::uint32_t Start(HANDLE handle, std::uint32_t code);

    /// Returns true when the last Start reached the driver: the request is in flight or has completed, with
    /// success or with a warning.
    bool WasTaken() const noexcept { return Taken; }

    /// Returns false while the operating system may access the memory. The status of the record decides: the
    /// error number of a completed request can be any, even that of an unfinished one.
    bool HasCompleted() const noexcept { return !Taken || Status() != STATUS_PENDING; }

    /// Returns the number of output bytes for a code with buffered transfer. The operating system copies the
    /// driver's output when the request completes, and none after an error.
    std::size_t CopiedBytes() const noexcept;

    /// Waits until the request has completed.
    /// @return false when it has not completed by the deadline.
    bool AwaitCompletion(std::chrono::steady_clock::time_point deadline) const;

    /// Cancels this request only.
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

    /// Most requests and responses are short and need no further allocation.
    static constexpr std::size_t InlineSize = 512;

    OVERLAPPED Overlapped{};
    CEventHandle Completion;
    alignas(std::max_align_t) std::array<std::byte, InlineSize> Inline;
    std::unique_ptr<std::byte[]> Large; ///< Null when everything fits into Inline.
    std::span<std::byte> In;
    std::span<std::byte> Out;
    bool Taken = false;
    CDriverCall* NextParked = nullptr; ///< Guarded by the lock of the parked calls.
};

/// Frees the parked calls that have completed meanwhile. Any thread; a single load if none is parked.
void ReleaseCompletedCalls() noexcept;
