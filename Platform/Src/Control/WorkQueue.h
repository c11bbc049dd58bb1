/// @file
/// A thread that runs functions in the order in which they were added.
#pragma once

#include "AnnotatedLock.h"

#include <deque>
#include <functional>

namespace Platform
{

/// Its thread exists until the process ends, so an object must never be destroyed. Thread-safe.
class WorkQueue
{
public:
    /// Starts the thread. @throws std::system_error
    void Start();
    void Add(std::function<void()> work);

private:
    [[noreturn]] void Run();

    Mutex Lock;
    Condition Changed;
    std::deque<std::function<void()>> Waiting PLATFORM_GUARDED_BY(Lock);
};

} // namespace Platform
