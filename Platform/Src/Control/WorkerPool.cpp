#include "WorkerPool.h"

#include <csignal>
#include <pthread.h>
#include <system_error>
#include <utility>

namespace Platform
{

std::thread StartThread(std::function<void()> work)
{
    sigset_t all;
    sigset_t previous;
    sigfillset(&all);
    // A thread inherits the mask of its creator.
    pthread_sigmask(SIG_SETMASK, &all, &previous);
    try
    {
        std::thread thread(std::move(work));
        pthread_sigmask(SIG_SETMASK, &previous, nullptr);
        pthread_setname_np(thread.native_handle(), "zv-control");
        return thread;
    }
    catch (const std::system_error&)
    {
        pthread_sigmask(SIG_SETMASK, &previous, nullptr);
        throw;
    }
}

WorkerPool::WorkerPool()
{
    const ScopedLock lock(Lock);
    Threads.push_back(StartThread([this] { Work(); }));
}

WorkerPool::~WorkerPool()
{
    std::vector<std::thread> threads;
    {
        const ScopedLock lock(Lock);
        Ending = true;
        threads = std::move(Threads);
        Wake.NotifyAll();
    }
    for (std::thread& thread : threads)
        thread.join();
}

void WorkerPool::Post(std::function<void()> job)
{
    const ScopedLock lock(Lock);
    if (Ending)
        return;
    Jobs.push_back(std::move(job));
    Wake.NotifyOne();
    if (Jobs.size() <= Idle || Threads.size() >= MostThreads)
        return;
    try
    {
        Threads.push_back(StartThread([this] { Work(); }));
    }
    catch (const std::system_error&)
    {
        // The threads that exist run the job later.
    }
}

void WorkerPool::Work()
{
    ScopedLock lock(Lock);
    while (!Ending)
    {
        if (Jobs.empty())
        {
            ++Idle;
            Wake.Wait(Lock);
            --Idle;
            continue;
        }
        const std::function<void()> job = std::move(Jobs.front());
        Jobs.pop_front();
        lock.Unlock();
        job();
        lock.Lock();
    }
}

} // namespace Platform
