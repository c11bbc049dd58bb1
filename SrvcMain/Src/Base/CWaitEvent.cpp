#include "CWaitEvent.h"

#include <thread>

namespace
{

/// A sleep and its wake cost both sides a call into the system, many times what it costs to give up
/// the CPU for a moment; a busy producer has posted again by then. Few enough to be nothing for a
/// thread that does go to rest.
constexpr int LooksBeforeSleep = 8;

} // namespace

/// @return false when a wake was pending; it is taken.
bool CWaitEvent::FallAsleep()
{
    WakeState seen = WakeState::Idle;
    return Word.compare_exchange_strong(seen, WakeState::Asleep, std::memory_order_acq_rel);
}

void CWaitEvent::WaitFor(std::chrono::milliseconds time)
{
    const CScopedLock hold(WakeLock);
    if (FallAsleep())
    {
        std::unique_lock<std::mutex> lock(WakeLock.Native(), std::adopt_lock);
        const auto end = std::chrono::steady_clock::now() + time;
        while (Word.load(std::memory_order_acquire) == WakeState::Asleep &&
               Condition.wait_until(lock, end) == std::cv_status::no_timeout)
        {
        }
        lock.release();
    }
    Word.exchange(WakeState::Idle, std::memory_order_acq_rel);
}

void CWaitEvent::Wait()
{
    for (int look = 0; look < LooksBeforeSleep && Word.load(std::memory_order_relaxed) == WakeState::Idle; ++look)
        std::this_thread::yield();
    const CScopedLock hold(WakeLock);
    if (FallAsleep())
    {
        std::unique_lock<std::mutex> lock(WakeLock.Native(), std::adopt_lock);
        while (Word.load(std::memory_order_acquire) == WakeState::Asleep)
            Condition.wait(lock);
        lock.release();
    }
    Word.exchange(WakeState::Idle, std::memory_order_acq_rel);
}

void CWaitEvent::Wake()
{
    // The exchange reads the newest value. The waiter takes the wake with an exchange too and so sees
    // everything done before it: nothing posted ahead of a wake can be missed.
    if (Word.exchange(WakeState::Pending, std::memory_order_acq_rel) != WakeState::Asleep)
        return;
    WakeLock.Lock();
    WakeLock.Unlock();
    Condition.notify_one();
}
