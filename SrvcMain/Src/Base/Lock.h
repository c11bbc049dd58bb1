/// @file
/// A mutex and a condition variable that the thread-safety analysis of Clang can read. Other compilers
/// see plain code. No other mutex is used in the library, so that the analysis misses none.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#ifdef __clang__
#define ZV_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define ZV_THREAD_ATTRIBUTE(x)
#endif

#define ZV_CAPABILITY(name) ZV_THREAD_ATTRIBUTE(capability(name))
#define ZV_SCOPED_CAPABILITY ZV_THREAD_ATTRIBUTE(scoped_lockable)
#define ZV_GUARDED_BY(lock) ZV_THREAD_ATTRIBUTE(guarded_by(lock))
#define ZV_ACQUIRE(...) ZV_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define ZV_RELEASE(...) ZV_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define ZV_REQUIRES(...) ZV_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define ZV_EXCLUDES(...) ZV_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))

/// Not recursive.
class ZV_CAPABILITY("mutex") CLock
{
public:
    /// Tries several times before it sleeps: the critical sections of this library are a few instructions
    /// long, far shorter than a sleep.
    void Lock() ZV_ACQUIRE()
    {
        for (int attempt = 0; attempt < AttemptsBeforeSleep; ++attempt)
            if (Mutex.try_lock())
                return;
        Mutex.lock();
    }
    void Unlock() ZV_RELEASE() { Mutex.unlock(); }

private:
    friend class CCondition;

    static constexpr int AttemptsBeforeSleep = 40;

    std::mutex Mutex;
};

class ZV_SCOPED_CAPABILITY CScopedLock
{
public:
    explicit CScopedLock(CLock& lock) ZV_ACQUIRE(lock) : Held(lock) { Held.Lock(); }
    ~CScopedLock() ZV_RELEASE() { Held.Unlock(); }
    CScopedLock(const CScopedLock&) = delete;
    CScopedLock& operator=(const CScopedLock&) = delete;

private:
    CLock& Held;
};

/// Both waits release the lock while they sleep, hold it again when they return, and may return without
/// a notification.
class CCondition
{
public:
    void Wait(CLock& lock) ZV_REQUIRES(lock)
    {
        CBorrowed borrowed(lock);
        Condition.wait(borrowed.Mutex);
    }

    /// @return false when the time is over.
    bool WaitUntil(CLock& lock, std::chrono::steady_clock::time_point end) ZV_REQUIRES(lock)
    {
        CBorrowed borrowed(lock);
        return Condition.wait_until(borrowed.Mutex, end) == std::cv_status::no_timeout;
    }

    void NotifyOne() noexcept { Condition.notify_one(); }
    void NotifyAll() noexcept { Condition.notify_all(); }

private:
    /// The held mutex in the form that a wait takes, without its ownership.
    struct CBorrowed
    {
        explicit CBorrowed(CLock& lock) : Mutex(lock.Mutex, std::adopt_lock) {}
        ~CBorrowed() { Mutex.release(); }
        CBorrowed(const CBorrowed&) = delete;
        CBorrowed& operator=(const CBorrowed&) = delete;

        std::unique_lock<std::mutex> Mutex;
    };

    std::condition_variable Condition;
};
