#include "ThreadQueue.h"

#include "WindowTable.h"

#include <algorithm>
#include <unordered_map>

namespace Platform
{

namespace
{

// Never destroyed: threads may call while the process ends.
std::unordered_map<DWORD, MessageQueuePtr>& Queues() PLATFORM_REQUIRES(WindowLock)
{
    static auto& queues = *new std::unordered_map<DWORD, MessageQueuePtr>;
    return queues;
}

// Has no destructor, so that it can be read after the thread's other objects have been destroyed.
thread_local bool threadEnded = false;

/// Owns the thread's entry. Windows destroys the windows of a thread with the thread.
struct QueueOwner
{
    QueueOwner() : Queue(std::make_shared<MessageQueue>()), Thread(GetCurrentThreadId())
    {
        const ScopedLock lock(WindowLock);
        Queues().insert_or_assign(Thread, Queue);
    }
    ~QueueOwner()
    {
        // First: destructors that run later on this thread may call a windowing function.
        threadEnded = true;
        const ScopedLock lock(WindowLock);
        Queue->End();
        WindowTable::Instance().RemoveOf(*Queue);
        Queues().erase(Thread);
    }
    QueueOwner(const QueueOwner&) = delete;
    QueueOwner& operator=(const QueueOwner&) = delete;

    const MessageQueuePtr Queue;
    const DWORD Thread;
};

} // namespace

MessageQueuePtr ThisThreadsQueue()
{
    if (threadEnded)
    {
        auto queue = std::make_shared<MessageQueue>();
        const ScopedLock lock(WindowLock);
        queue->End();
        return queue;
    }
    static thread_local const QueueOwner owner;
    return owner.Queue;
}

MessageQueuePtr QueueOfThread(DWORD thread)
{
    const auto found = Queues().find(thread);
    return found == Queues().end() ? nullptr : found->second;
}

bool AnyQueueHasMessages()
{
    const ScopedLock lock(WindowLock);
    return std::ranges::any_of(Queues(), [](const auto& entry)
                                             PLATFORM_REQUIRES(WindowLock) { return !entry.second->IsEmpty(); });
}

bool WindowingCallFails(const char* function)
try
{
    // Creates the queue: as on Windows, a thread can receive posted messages after its first such call.
    ThisThreadsQueue();
    return CallFails(function);
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(true);
}

} // namespace Platform
