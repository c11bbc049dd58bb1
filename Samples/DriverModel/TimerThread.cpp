#include "TimerThread.h"

#include <utility>

void TimerThread::Post(std::chrono::milliseconds delay, std::function<void()> task)
{
    const Platform::ScopedLock guard(Lock);
    if (Stopping)
        return;
    Tasks.emplace(std::chrono::steady_clock::now() + delay, std::move(task));
    if (!Thread.joinable())
        Thread = std::thread(&TimerThread::Run, this);
    Changed.NotifyOne();
}

void TimerThread::Stop()
{
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
            auto task = Tasks.extract(Tasks.begin());
            guard.Unlock();
            task.mapped()();
            task = {}; // destroys its captures without a lock
            guard.Lock();
        }
    }
}
