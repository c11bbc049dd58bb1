/// @file
/// What is left to do when the process ends.
#pragma once

#include "OSPlatform.h"

/// True once the system has ended all threads but this one, which is how Windows ends a process before
/// its modules are told. A lock that such a thread held stays held, and what it waited in cannot be
/// destroyed: the library then touches nothing of its own any more, and the process takes it along.
inline bool ThreadsHaveBeenEnded() noexcept
{
    return RtlDllShutdownInProgress() != FALSE;
}
