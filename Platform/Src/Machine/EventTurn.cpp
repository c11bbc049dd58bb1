#include "EventTurn.h"

#include <algorithm>

namespace Platform
{

EventTurn::Holder::Holder(EventTurn& turn) : Door(turn)
{
    const auto self = std::this_thread::get_id();
    const MessageQueuePtr mine = MessageQueue::Mine();
    std::unique_lock lock(WindowLock());
    if (Door.Owner == self)
        return;
    Door.Waiting.push_back(mine);
    mine->CarryOutUntil(lock, std::nullopt, [this] { return Door.Owner == std::thread::id(); });
    Door.Waiting.erase(std::ranges::find(Door.Waiting, mine));
    Door.Owner = self;
    Taken = true;
}

EventTurn::Holder::~Holder()
{
    if (Taken)
    {
        const std::lock_guard lock(WindowLock());
        Door.Owner = {};
        for (const MessageQueuePtr& queue : Door.Waiting)
            queue->Wake();
    }
}

} // namespace Platform
