#include "WorkQueue.h"

#include <thread>
#include <utility>

namespace Platform
{

void WorkQueue::Start()
{
    std::thread([this] { Run(); }).detach();
}

void WorkQueue::Add(std::function<void()> work)
{
    const ScopedLock lock(Lock);
    Waiting.push_back(std::move(work));
    Changed.NotifyOne();
}

void WorkQueue::Run()
{
    for (;;)
    {
        std::function<void()> work;
        {
            const ScopedLock lock(Lock);
            while (Waiting.empty())
                Changed.Wait(Lock);
            work = std::move(Waiting.front());
            Waiting.pop_front();
        }
        work();
    }
}

} // namespace Platform
