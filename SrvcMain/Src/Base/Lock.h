/// @file
/// A mutex that the thread-safety analysis of Clang can read. Other compilers see plain code.
#pragma once

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
    /// Looks a few times before it sleeps: what runs under a lock of this library is a few
    /// instructions, far less than a sleep costs.
    void Lock() ZV_ACQUIRE()
    {
        for (int look = 0; look < Looks; ++look)
            if (Mutex.try_lock())
                return;
        Mutex.lock();
    }
    void Unlock() ZV_RELEASE() { Mutex.unlock(); }

    /// For a wait on a condition variable, which gives the mutex up and takes it back.
    std::mutex& Native() { return Mutex; }

private:
    static constexpr int Looks = 40;

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
