/// @file
/// The wake-up of a notification thread.
#pragma once

#include "Lock.h"

#include <atomic>
#include <chrono>
#include <cstdint>

/// Remembers a wake that no thread waits for, so that the next wait returns at once. One thread waits at
/// a time; any thread may wake.
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
        Idle,    ///< No wake is pending, and no thread sleeps.
        Pending, ///< A wake was posted that no wait has consumed yet.
        Asleep   ///< The waiter sleeps, or is about to while it holds the wake lock.
    };

    bool FallAsleep() ZV_REQUIRES(WakeLock);

    /// Guards the transition to Asleep. A waker that has read Asleep and then acquired the lock knows that
    /// the waiter is in its wait.
    CLock WakeLock;
    CCondition Woken; ///< Used with WakeLock.
    /// Atomic, so that a wake of a thread that is awake takes no lock.
    std::atomic<WakeState> State{WakeState::Idle};
};
