/// @file
/// A mutex, a scoped lock and a condition variable that the thread-safety analysis of Clang understands.
///
/// The standard ones carry no annotations with libstdc++. Other compilers see plain code. Header only, so that
/// drivers and samples can use it without linking the stand-in.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

/// An attribute of the analysis; nothing with other compilers.
#ifdef __clang__
#define PLATFORM_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define PLATFORM_THREAD_ATTRIBUTE(x)
#endif

/// A class whose objects are locks.
#define PLATFORM_CAPABILITY(name) PLATFORM_THREAD_ATTRIBUTE(capability(name))
/// A class that holds a lock for a scope.
#define PLATFORM_SCOPED_CAPABILITY PLATFORM_THREAD_ATTRIBUTE(scoped_lockable)
/// A field that may be used only while holding the lock.
#define PLATFORM_GUARDED_BY(lock) PLATFORM_THREAD_ATTRIBUTE(guarded_by(lock))
/// A pointer whose target may be used only while holding the lock.
#define PLATFORM_TARGET_GUARDED_BY(lock) PLATFORM_THREAD_ATTRIBUTE(pt_guarded_by(lock))
/// A function that returns with the lock held. Without arguments the lock is the object itself.
#define PLATFORM_ACQUIRE(...) PLATFORM_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
/// A function that its caller calls while holding the lock, and that releases it.
#define PLATFORM_RELEASE(...) PLATFORM_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
/// A function that its caller may call only while holding the lock.
#define PLATFORM_REQUIRES(...) PLATFORM_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
/// A function that takes the lock itself, so its caller must not hold it.
#define PLATFORM_EXCLUDES(...) PLATFORM_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
/// For code that changes the state of a lock in a way that the analysis cannot follow.
#define PLATFORM_UNCHECKED_LOCKING PLATFORM_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace Platform
{

/// Not recursive. Usable before and after the static constructors and destructors of the process.
class PLATFORM_CAPABILITY("mutex") Mutex
{
public:
    /// Blocks until the calling thread holds the mutex.
    void Lock() PLATFORM_ACQUIRE() { Native.lock(); }
    /// Releases the mutex. Only the thread that holds it may call this.
    void Unlock() PLATFORM_RELEASE() { Native.unlock(); }

private:
    friend class Condition;

    std::mutex Native;
};

/// Holds a mutex for a scope. A driver call, callback or hook needs the mutex released: leave the scope, or
/// call Unlock first.
class PLATFORM_SCOPED_CAPABILITY ScopedLock
{
public:
    /// Takes the mutex, which must outlive this object.
    explicit ScopedLock(Mutex& mutex) PLATFORM_ACQUIRE(mutex) : Target(mutex) { Target.Lock(); }
    /// Releases the mutex if it is held.
    ~ScopedLock() PLATFORM_RELEASE()
    {
        if (Held)
            Target.Unlock();
    }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

    /// Releases the mutex before the end of the scope.
    void Unlock() PLATFORM_RELEASE() PLATFORM_UNCHECKED_LOCKING
    {
        Held = false;
        Target.Unlock();
    }
    /// Takes the mutex again after Unlock.
    void Lock() PLATFORM_ACQUIRE() PLATFORM_UNCHECKED_LOCKING
    {
        Target.Lock();
        Held = true;
    }

private:
    Mutex& Target;
    bool Held = true; ///< False between Unlock and Lock.
};

/// A condition variable. There are no waits with a predicate, because the analysis would not see that a
/// predicate runs under the lock: call the waits in a loop that checks the condition.
class Condition
{
public:
    /// Wakes one waiting thread. May be called with or without the mutex. If the notified thread may destroy this
    /// object, call it while holding the mutex.
    void NotifyOne() { Native.notify_one(); }
    /// Wakes all waiting threads, like NotifyOne.
    void NotifyAll() { Native.notify_all(); }

    /// Releases the mutex while blocking, and holds it again on return. May return without a notification.
    void Wait(Mutex& mutex) PLATFORM_REQUIRES(mutex)
    {
        std::unique_lock lock(mutex.Native, std::adopt_lock);
        Native.wait(lock);
        lock.release();
    }
    /// Waits like Wait, until a point of time at the latest.
    /// @param mutex held by the caller.
    /// @param end the point of time.
    /// @return false when it has passed.
    bool WaitUntil(Mutex& mutex, std::chrono::steady_clock::time_point end) PLATFORM_REQUIRES(mutex)
    {
        std::unique_lock lock(mutex.Native, std::adopt_lock);
        const std::cv_status status = Native.wait_until(lock, end);
        lock.release();
        return status == std::cv_status::no_timeout;
    }

private:
    std::condition_variable Native;
};

} // namespace Platform
