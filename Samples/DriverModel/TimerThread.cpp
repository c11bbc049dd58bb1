#include "TimerThread.h"

#include <utility>

void TimerThread::Post(std::chrono::milliseconds delay, std::function<void()> task)
{
    const std::scoped_lock guard(Lock);
    if (Stopping)
        return;
    Tasks.emplace(std::chrono::steady_clock::now() + delay, std::move(task));
    if (!Thread.joinable())
        Thread = std::thread(&TimerThread::Run, this);
    Changed.notify_one();
}

void TimerThread::Stop()
{
    {
        const std::scoped_lock guard(Lock);
        Stopping = true;
        Changed.notify_one();
    }
    if (Thread.joinable())
        Thread.join();
}

void TimerThread::Run()
{
    std::unique_lock guard(Lock);
    while (!Stopping)
    {
        if (Tasks.empty())
            Changed.wait(guard);
        else if (const auto due = Tasks.begin()->first; due > std::chrono::steady_clock::now())
            Changed.wait_until(guard, due);
        else
        {
            auto task = Tasks.extract(Tasks.begin());
            guard.unlock();
            task.mapped()();
            task = {}; // destroys its captures without a lock
            guard.lock();
        }
    }
}
