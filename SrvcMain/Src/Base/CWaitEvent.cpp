#include "CWaitEvent.h"

/// @return false when a wake is pending.
bool CWaitEvent::FallAsleep()
{
    WakeState seen = WakeState::Idle;
    return State.compare_exchange_strong(seen, WakeState::Asleep, std::memory_order_acq_rel);
}

void CWaitEvent::WaitFor(std::chrono::milliseconds time)
{
    const CScopedLock lock(WakeLock);
    if (FallAsleep())
    {
        const auto end = std::chrono::steady_clock::now() + time;
        while (State.load(std::memory_order_acquire) == WakeState::Asleep && Woken.WaitUntil(WakeLock, end))
        {
        }
    }
    State.exchange(WakeState::Idle, std::memory_order_acq_rel);
}

void CWaitEvent::Wait()
{
    const CScopedLock lock(WakeLock);
    if (FallAsleep())
        while (State.load(std::memory_order_acquire) == WakeState::Asleep)
            Woken.Wait(WakeLock);
    State.exchange(WakeState::Idle, std::memory_order_acq_rel);
}

void CWaitEvent::Wake()
{
    // An exchange reads the newest value, and the waiter consumes the wake with one too. So the waiter
    // sees everything that was posted before the wake.
    if (State.exchange(WakeState::Pending, std::memory_order_acq_rel) != WakeState::Asleep)
        return;
    WakeLock.Lock();
    WakeLock.Unlock();
    Woken.NotifyOne();
}
