/// @file
/// Waiting for a change of an atomic word that exists until the process ends.
///
/// std::atomic::wait is not used. Where the runtime has no system call for it, it keeps condition variables
/// in a table that is destroyed with the module. On Windows that happens after the other threads were
/// terminated, and destroying a variable that one of them waited on hangs. Missed changes were observed
/// there too. The objects below are never destroyed.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <new>

struct CWordWaiters
{
    std::mutex Lock;
    std::condition_variable Changed;
};

/// Shared by all words, because each changes a few times per process. In static memory, so that a wait
/// needs no allocation, whose failure could not be reported.
inline CWordWaiters& WordWaiters()
{
    alignas(CWordWaiters) static std::byte memory[sizeof(CWordWaiters)];
    static CWordWaiters& waiters = *new (memory) CWordWaiters;
    return waiters;
}

/// Returns when the word has another value.
template <class Word>
void AwaitChange(const std::atomic<Word>& word, Word seen)
{
    std::unique_lock lock(WordWaiters().Lock);
    WordWaiters().Changed.wait(lock, [&] { return word.load(std::memory_order_acquire) != seen; });
}

/// Must be called after each change that a thread may wait for.
inline void NotifyChange()
{
    {
        const std::lock_guard lock(WordWaiters().Lock);
    }
    WordWaiters().Changed.notify_all();
}
