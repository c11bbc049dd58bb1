/// @file
/// The first step of every windowing function.
#pragma once

#include "MessageQueue.h"
#include "PublishedCall.h"

namespace Platform
{

/// Gives the calling thread its queue; then as CallFails. Without memory for a queue the call fails.
inline bool WindowingCallFails(const char* function)
try
{
    MessageQueue::Mine();
    return CallFails(function);
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(true);
}

} // namespace Platform
