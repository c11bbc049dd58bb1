/// @file
/// What is left to do when the process ends.
#pragma once

#include "OSPlatform.h"

#include <atomic>

/// True once the system has ended all threads but this one, which is how Windows ends a process before
/// its modules are told. A lock that such a thread held stays held, and what it waited in cannot be
/// destroyed: the library then touches nothing of its own any more, and the process takes it along.
inline bool ThreadsHaveBeenEnded() noexcept
{
    return RtlDllShutdownInProgress() != FALSE;
}

/// Set when the exit routine begins.
inline std::atomic<bool> ZVExitHasBegun{false};

/// True once the process waits for the library's threads. Work that can take long, such as the probes of a
/// sweep, then stops early: nobody is left to be notified of its result.
inline bool ExitHasBegun() noexcept
{
    return ZVExitHasBegun.load(std::memory_order_relaxed);
}
