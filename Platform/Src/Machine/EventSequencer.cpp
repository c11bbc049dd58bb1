#include "EventSequencer.h"

#include "ThreadQueue.h"

#include <algorithm>

namespace Platform
{

EventSequencer::Holder::Holder(EventSequencer& sequencer) : Sequencer(sequencer)
{
    const auto self = std::this_thread::get_id();
    const MessageQueuePtr mine = ThisThreadsQueue();
    const ScopedLock lock(WindowLock);
    // A window procedure may cause the next event from inside the current one.
    if (Sequencer.Owner == self)
        return;
    Sequencer.Waiting.push_back(mine);
    // Dispatches meanwhile: the current event may be waiting for a window of this thread.
    mine->DispatchUntil(std::nullopt,
                        [this]() PLATFORM_REQUIRES(WindowLock) { return Sequencer.Owner == std::thread::id(); });
    Sequencer.Waiting.erase(std::ranges::find(Sequencer.Waiting, mine));
    Sequencer.Owner = self;
    Taken = true;
}

EventSequencer::Holder::~Holder()
{
    if (Taken)
    {
        const ScopedLock lock(WindowLock);
        Sequencer.Owner = {};
        // All of them: each checks the owner again, and the first one takes it.
        for (const MessageQueuePtr& queue : Sequencer.Waiting)
            queue->Wake();
    }
}

} // namespace Platform
