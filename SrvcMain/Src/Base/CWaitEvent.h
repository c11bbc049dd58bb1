/// @file
/// A condition variable and its mutex, the wake lock of a notification thread.
#pragma once

#include "Lock.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

/// A wake without a waiter is remembered, so the next wait returns at once. One thread waits at a time;
/// any thread may wake.
class CWaitEvent
{
public:
    /// Waits for a wake, at most for this time.
    void WaitFor(std::chrono::milliseconds time);
    /// Waits for a wake without limit.
    void Wait();
    void Wake();

private:
    enum class WakeState : std::uint32_t
    {
        Idle,    ///< No wake to take, and no thread sleeps.
        Pending, ///< A wake came that no wait has taken yet.
        Asleep   ///< A waiter sleeps, or is about to with the wake lock held.
    };

    bool FallAsleep() ZV_REQUIRES(WakeLock);

    CLock WakeLock;
    std::condition_variable Condition;
    /// Changes to and from Asleep only while holding the wake lock. So once a waker has read Asleep and
    /// then acquired the lock, the waiter is in its wait. A wake for a thread that is awake changes only
    /// this word and takes no lock.
    std::atomic<WakeState> Word{WakeState::Idle};
};
