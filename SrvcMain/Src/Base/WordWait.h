/// @file
/// Waiting for the change of a word that lives as long as the process.
///
/// The runtime's own waiting on atomics is not used. Where it has no system call for that it keeps
/// condition variables in a table that is destroyed with the module: on Windows when the process has
/// ended its other threads, and destroying what one of them was at hangs then. It has also been seen
/// to miss a change there. What is waited with here is never destroyed.
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

/// One for all words: each changes a few times in a process. In static memory, so that a wait needs
/// no allocation, which could fail at a time when nobody can be told.
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

/// Has to follow each change that is waited for.
inline void TellChange()
{
    {
        const std::lock_guard lock(WordWaiters().Lock);
    }
    WordWaiters().Changed.notify_all();
}
