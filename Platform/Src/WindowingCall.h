// What every windowing function does first.
#pragma once

#include "MessageQueue.h"
#include "PublishedCall.h"

namespace Platform
{

/// Gives the calling thread its queue; then as CallFails.
inline bool WindowingCallFails(const char* function)
{
    MessageQueue::Mine();
    return CallFails(function);
}

} // namespace Platform
