/// @file
/// The model's thread for delayed work.
#pragma once

#include "AnnotatedLock.h"

#include <chrono>
#include <functional>
#include <map>
#include <thread>

/// Runs tasks one at a time, each when it is due. Post is thread-safe.
class TimerThread
{
public:
    ~TimerThread() { Stop(); }

    using Clock = std::chrono::steady_clock;

    /// Schedules a task; the first one starts the thread.
    void Post(std::chrono::milliseconds delay, std::function<void()> task);
    /// Does the same for a point in time. Tasks of the same point run in the order in which they were posted.
    void PostAt(Clock::time_point due, std::function<void()> task);
    /// Waits for the running task and drops the others. A task must not call this.
    void Stop();

private:
    void Run();

    Platform::Mutex Lock; ///< Not held while a task runs or the thread is joined.
    Platform::Condition Changed;
    std::multimap<Clock::time_point, std::function<void()>> Tasks PLATFORM_GUARDED_BY(Lock);
    bool Stopping PLATFORM_GUARDED_BY(Lock) = false;
    std::thread Thread PLATFORM_GUARDED_BY(Lock);
};
