#include "CWaitEvent.h"

#include <thread>

namespace
{

/// A sleep and its wake-up cost each side a system call, many times the cost of yielding the CPU. A
/// busy producer has posted again by then; an idle thread loses next to nothing before it sleeps.
constexpr int YieldsBeforeSleep = 8;

} // namespace

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
    for (int yields = 0; yields < YieldsBeforeSleep && State.load(std::memory_order_relaxed) == WakeState::Idle;
         ++yields)
        std::this_thread::yield();
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
