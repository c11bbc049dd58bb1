/// @file
/// Threads that run the methods of the control protocol.
#pragma once

#include "AnnotatedLock.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <thread>
#include <vector>

namespace Platform
{

/// Starts a thread that handles no signals, because the handlers of a host expect its own threads.
/// @throws std::system_error
std::thread StartThread(std::function<void()> work);

/// Runs jobs that may block. It starts a thread for a job only if all others are busy, so a host with one client has
/// one thread, and methods that block delay no others. Thread-safe.
class WorkerPool
{
public:
    /// @throws std::system_error
    WorkerPool();
    /// Waits for the jobs that run; others are dropped.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// A job must not throw.
    void Post(std::function<void()> job);

private:
    static constexpr std::size_t MostThreads = 64;

    void Work();

    Mutex Lock;
    Condition Wake;
    std::deque<std::function<void()>> Jobs PLATFORM_GUARDED_BY(Lock);
    std::size_t Idle PLATFORM_GUARDED_BY(Lock) = 0;
    bool Ending PLATFORM_GUARDED_BY(Lock) = false;
    std::vector<std::thread> Threads PLATFORM_GUARDED_BY(Lock);
};

} // namespace Platform
