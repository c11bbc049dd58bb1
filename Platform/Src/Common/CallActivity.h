/// @file
/// Which published functions have been called lately, by all threads of the process.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace Platform
{

/// Written at the start of each published function. Atomic, guarded by no lock.
struct CallActivity
{
    static inline constinit std::atomic<std::int64_t> LastCallNs{0}; ///< On the monotonic clock.
    static inline constinit std::atomic<std::size_t> Entering{0};    ///< Calls that run their hook.

    static std::int64_t NowNs()
    {
        return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
    }
};

/// Records a call for the time in which it may run a hook.
class CallEntry
{
public:
    CallEntry()
    {
        ++CallActivity::Entering;
        CallActivity::LastCallNs.store(CallActivity::NowNs(), std::memory_order_relaxed);
    }
    ~CallEntry() { --CallActivity::Entering; }
    CallEntry(const CallEntry&) = delete;
    CallEntry& operator=(const CallEntry&) = delete;
};

} // namespace Platform
