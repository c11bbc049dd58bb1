/// @file
/// A mutex that Clang's thread-safety analysis checks. Other compilers ignore the annotations.
#pragma once

#include <mutex>

#ifdef __clang__
#define ZV_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define ZV_THREAD_ATTRIBUTE(x)
#endif

#define ZV_GUARDED_BY(lock) ZV_THREAD_ATTRIBUTE(guarded_by(lock))

/// Not recursive. Named like the standard mutex, so that std::condition_variable_any can wait with it.
class ZV_THREAD_ATTRIBUTE(capability("mutex")) AnnotatedMutex
{
public:
    void lock() ZV_THREAD_ATTRIBUTE(acquire_capability()) { Native.lock(); }
    void unlock() ZV_THREAD_ATTRIBUTE(release_capability()) { Native.unlock(); }

private:
    std::mutex Native;
};

/// Holds a mutex for a scope.
class ZV_THREAD_ATTRIBUTE(scoped_lockable) ScopedLock
{
public:
    explicit ScopedLock(AnnotatedMutex& mutex) ZV_THREAD_ATTRIBUTE(acquire_capability(mutex)) : Held(mutex)
    {
        Held.lock();
    }
    ~ScopedLock() ZV_THREAD_ATTRIBUTE(release_capability()) { Held.unlock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    AnnotatedMutex& Held;
};
