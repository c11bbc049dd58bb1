#include "DriverCall.h"

#include "Lock.h"
#include "TracePoint.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <thread>
#include <utility>

namespace
{

/// Requests that their driver has not completed although their handle is closed.
struct CParkedCalls
{
    CLock Lock;
    CDriverCall* First ZV_GUARDED_BY(Lock) = nullptr;
};

/// In static memory and never destroyed, because a call can be parked even while the process ends.
CParkedCalls& Parked()
{
    alignas(CParkedCalls) static std::byte memory[sizeof(CParkedCalls)];
    static CParkedCalls& calls = *new (memory) CParkedCalls;
    return calls;
}

/// Whether there are parked calls. Atomic: written under their lock and read without it.
constinit std::atomic<bool> anyParked{false};

} // namespace

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the inline bytes stay undefined on purpose.
CDriverCall::CDriverCall(std::size_t inSize, std::size_t outSize, CallMemory memory)
{
    constexpr std::size_t alignment = alignof(std::max_align_t);
    const std::size_t outOffset = memory == CallMemory::Shared ? 0 : (inSize + alignment - 1) / alignment * alignment;
    const std::size_t size = std::max(inSize, outOffset + outSize);
    if (size > InlineSize)
        Large = std::make_unique_for_overwrite<std::byte[]>(size);
    std::byte* const bytes = Large != nullptr ? Large.get() : Inline.data();
    In = {bytes, inSize};
    Out = {outSize != 0 ? bytes + outOffset : nullptr, outSize};
}

CDriverCallPtr CDriverCall::Make(std::size_t inSize, std::size_t outSize, CallMemory memory, CallEvent event)
{
    CDriverCallPtr call(new CDriverCall(inSize, outSize, memory));
    const BOOL isManual = event == CallEvent::ManualSignalled ? TRUE : FALSE;
    call->Completion.Reset(CreateEventW(nullptr, isManual, isManual, nullptr));
    call->Overlapped.hEvent = call->Completion.Get();
    return call;
}

ULONG_PTR CDriverCall::Status() const noexcept
{
    // Windows writes this field last on completion, so the acquire makes all other results visible.
    return std::atomic_ref(const_cast<ULONG_PTR&>(Overlapped.Internal)).load(std::memory_order_acquire);
}

std::size_t CDriverCall::CopiedBytes() const noexcept
{
    constexpr ULONG_PTR firstError = 0xC0000000;
    return !Taken || Status() >= firstError ? 0 : std::min<std::size_t>(Overlapped.InternalHigh, Out.size());
}

std::uint32_t CDriverCall::Start(HANDLE handle, std::uint32_t code)
{
    // A call that fails before it reaches the driver does not change the record.
    std::atomic_ref(Overlapped.Internal).store(STATUS_PENDING, std::memory_order_relaxed);
    Taken = true;
    DWORD returned = 0;
    if (DeviceIoControl(handle, code, In.data(), static_cast<DWORD>(In.size()), Out.data(),
                        static_cast<DWORD>(Out.size()), &returned, &Overlapped))
        return ERROR_SUCCESS;
    const std::uint32_t error = GetLastError();
    // A warning completes the record as a success does. After a refusal the record stays pending,
    // although nothing is in flight.
    Taken = error == ERROR_IO_PENDING || Status() != STATUS_PENDING;
    return error;
}

bool CDriverCall::AwaitCompletion(std::chrono::steady_clock::time_point deadline) const
{
    using std::chrono::milliseconds;
    while (!HasCompleted())
    {
        const auto left = std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left <= milliseconds::zero())
            return false;
        // Without an event, or after a signal that was not the completion, the record is polled.
        if (WaitForSingleObject(Completion.Get(), static_cast<DWORD>(left.count())) != WAIT_TIMEOUT && !HasCompleted())
            std::this_thread::sleep_for(milliseconds(1));
    }
    return true;
}

bool CDriverCall::Result(HANDLE handle, std::size_t& bytes)
{
    DWORD count = 0;
    const bool isGood = GetOverlappedResult(handle, &Overlapped, &count, FALSE) != FALSE;
    // A driver can report more bytes than the buffer holds.
    bytes = std::min<std::size_t>(count, Out.size());
    return isGood;
}

void CParkUnlessCompleted::operator()(CDriverCall* call) const noexcept
{
    if (call->HasCompleted())
    {
        delete call;
        return;
    }
    const auto size = static_cast<std::uint32_t>(call->In.size() + call->Out.size());
    ZV_TRACE(CallParked, size);
    CParkedCalls& parked = Parked();
    const CScopedLock lock(parked.Lock);
    call->NextParked = std::exchange(parked.First, call);
    anyParked.store(true, std::memory_order_relaxed);
}

void ReleaseCompletedCalls() noexcept
{
    if (!anyParked.load(std::memory_order_relaxed))
        return;
    CParkedCalls& parked = Parked();
    CDriverCall* completed = nullptr;
    {
        const CScopedLock lock(parked.Lock);
        for (CDriverCall** link = &parked.First; *link != nullptr;)
        {
            CDriverCall* const call = *link;
            if (!call->HasCompleted())
            {
                link = &call->NextParked;
                continue;
            }
            *link = call->NextParked;
            call->NextParked = std::exchange(completed, call);
        }
        anyParked.store(parked.First != nullptr, std::memory_order_relaxed);
    }
    while (completed != nullptr)
        delete std::exchange(completed, completed->NextParked);
}
