#include "WorkQueue.h"

#include "WorkerPool.h"

#include <new>
#include <utility>

namespace Platform
{

void WorkQueue::Start()
{
    StartThread([this] { Run(); }).detach();
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
        try
        {
            work();
        }
        catch (const std::bad_alloc&)
        {
            continue; // without memory this piece of work is left out; the process goes on
        }
    }
}

} // namespace Platform
