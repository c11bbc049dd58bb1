/// @file
/// The model's own thread, for what happens later.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

/// Runs tasks one after the other, each when its time has come. Post is thread-safe.
class TimerThread
{
public:
    ~TimerThread() { Stop(); }

    /// The first task starts the thread.
    void Post(std::chrono::milliseconds delay, std::function<void()> task);
    /// Waits for the running task and drops the others. Not to be called by a task.
    void Stop();

private:
    void Run();

    std::mutex Lock; ///< Guards all but the thread's join.
    std::condition_variable Changed;
    std::multimap<std::chrono::steady_clock::time_point, std::function<void()>> Tasks;
    bool Stopping = false;
    std::thread Thread;
};
