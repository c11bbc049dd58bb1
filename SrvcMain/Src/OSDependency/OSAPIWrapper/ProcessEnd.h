/// @file
/// Detects the end of the process.
#pragma once

#include "OSPlatform.h"

#include <atomic>

/// Returns true once Windows has terminated all threads but this one, which it does before it notifies the
/// modules of a process exit. Locks that those threads held stay locked, and objects that they waited on
/// cannot be destroyed, so the library then touches nothing.
inline bool ThreadsHaveBeenEnded() noexcept
{
    return RtlDllShutdownInProgress() != FALSE;
}

/// Set when the exit routine begins. Atomic, guarded by no lock.
inline std::atomic<bool> ZVExitHasBegun{false};

/// Returns true once the exit routine waits for the library's threads. Long work, such as the probes of a
/// sweep, then stops early, because its result is no longer needed.
inline bool ExitHasBegun() noexcept
{
    return ZVExitHasBegun.load(std::memory_order_relaxed);
}
