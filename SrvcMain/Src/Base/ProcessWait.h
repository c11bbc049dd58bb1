/// @file
/// Waiting for a change of an atomic value that exists until the process ends.
///
/// std::atomic::wait is not used. Where the runtime has no system call for it, it keeps condition variables
/// in a table that is destroyed with the module. On Windows that happens after the other threads were
/// terminated, and destroying a variable that one of them waited on hangs. Missed changes were observed
/// there too. The objects below are never destroyed.
#pragma once

#include "Lock.h"

#include <atomic>
#include <cstddef>
#include <new>

/// What a waiting thread sleeps on. The lock guards no data: it orders a change before or after the
/// check of a thread that is about to sleep.
struct CChangeSignal
{
    CLock Lock;
    CCondition Changed;
};

/// Shared by all values, because each changes a few times per process. In static memory, so that a wait
/// needs no allocation, whose failure could not be reported.
inline CChangeSignal& ChangeSignal()
{
    alignas(CChangeSignal) static std::byte memory[sizeof(CChangeSignal)];
    static CChangeSignal& signal = *new (memory) CChangeSignal;
    return signal;
}

/// Blocks until the value differs from `seen`.
template <class Value>
void AwaitChange(const std::atomic<Value>& value, Value seen)
{
    CChangeSignal& signal = ChangeSignal();
    const CScopedLock lock(signal.Lock);
    while (value.load(std::memory_order_acquire) == seen)
        signal.Changed.Wait(signal.Lock);
}

/// Wakes all waiting threads. Must be called after each change that a thread may wait for.
inline void NotifyChange()
{
    CChangeSignal& signal = ChangeSignal();
    {
        // A thread that has checked the old value now sleeps, so the notification reaches it.
        const CScopedLock lock(signal.Lock);
    }
    signal.Changed.NotifyAll();
}
