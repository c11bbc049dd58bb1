#include "TimerThread.h"

#include <utility>

void TimerThread::Post(std::chrono::milliseconds delay, std::function<void()> task)
{
    PostAt(Clock::now() + delay, std::move(task));
}

void TimerThread::PostAt(Clock::time_point due, std::function<void()> task)
{
    const Platform::ScopedLock guard(Lock);
    // The destructor of the model completes the request that the task was meant for.
    if (Stopping)
        return;
    Tasks.emplace(due, std::move(task));
    if (!Thread.joinable())
        Thread = std::thread(&TimerThread::Run, this);
    Changed.NotifyOne();
}

void TimerThread::Stop()
{
    // Joined without the lock, because the thread needs it to end.
    std::thread ending;
    {
        const Platform::ScopedLock guard(Lock);
        Stopping = true; // from here on no task can start the thread
        ending.swap(Thread);
        Changed.NotifyOne();
    }
    if (ending.joinable())
        ending.join();
}

void TimerThread::Run()
{
    Platform::ScopedLock guard(Lock);
    while (!Stopping)
    {
        if (Tasks.empty())
            Changed.Wait(Lock);
        else if (const auto due = Tasks.begin()->first; due > std::chrono::steady_clock::now())
            Changed.WaitUntil(Lock, due);
        else
        {
            // Extracted, so that the task exists once and needs no copy of its captures.
            auto task = Tasks.extract(Tasks.begin());
            guard.Unlock();
            task.mapped()();
            task = {}; // destroys its captures without a lock
            guard.Lock();
        }
    }
}
