#include "EventSequencer.h"

#include <algorithm>

namespace Platform
{

EventSequencer::Holder::Holder(EventSequencer& sequencer) : Sequencer(sequencer)
{
    const auto self = std::this_thread::get_id();
    const MessageQueuePtr mine = MessageQueue::Mine();
    std::unique_lock lock(WindowLock());
    if (Sequencer.Owner == self)
        return;
    Sequencer.Waiting.push_back(mine);
    mine->CarryOutUntil(lock, std::nullopt, [this] { return Sequencer.Owner == std::thread::id(); });
    Sequencer.Waiting.erase(std::ranges::find(Sequencer.Waiting, mine));
    Sequencer.Owner = self;
    Taken = true;
}

EventSequencer::Holder::~Holder()
{
    if (Taken)
    {
        const std::lock_guard lock(WindowLock());
        Sequencer.Owner = {};
        for (const MessageQueuePtr& queue : Sequencer.Waiting)
            queue->Wake();
    }
}

} // namespace Platform
