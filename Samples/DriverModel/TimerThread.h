/// @file
/// The model's thread for delayed work.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

/// Runs tasks one at a time, each when it is due. Post is thread-safe.
class TimerThread
{
public:
    ~TimerThread() { Stop(); }

    /// Schedules a task; the first one starts the thread.
    void Post(std::chrono::milliseconds delay, std::function<void()> task);
    /// Waits for the running task and drops the others. A task must not call this.
    void Stop();

private:
    void Run();

    std::mutex Lock; ///< Guards all members; not held while the thread is joined.
    std::condition_variable Changed;
    std::multimap<std::chrono::steady_clock::time_point, std::function<void()>> Tasks;
    bool Stopping = false;
    std::thread Thread;
};
