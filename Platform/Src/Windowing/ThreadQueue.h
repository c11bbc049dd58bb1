/// @file
/// Which message queue belongs to which thread, and the first step of every windowing function.
#pragma once

#include "MessageQueue.h"
#include "PublishedCall.h"

namespace Platform
{

/// Returns the calling thread's queue, and creates it if needed. A thread that has run its thread-local destructors,
/// such as one that runs static destructors, gets a new, ended queue for each call. @throws std::bad_alloc
MessageQueuePtr ThisThreadsQueue() PLATFORM_EXCLUDES(WindowLock);

/// Returns null for a thread that has no queue.
MessageQueuePtr QueueOfThread(DWORD thread) PLATFORM_REQUIRES(WindowLock);

/// Returns whether a thread has messages that it has not retrieved.
bool AnyQueueHasMessages() PLATFORM_EXCLUDES(WindowLock);

/// Gives the calling thread its queue, then does what CallFails does. Without memory for a queue the call fails.
bool WindowingCallFails(const char* function);

} // namespace Platform
