#include "Turn.h"

namespace Platform
{

Turn::Holder::Holder(Turn& turn) : Door(turn)
{
    const auto self = std::this_thread::get_id();
    std::unique_lock lock(Door.Lock);
    if (Door.Owner == self)
        return;
    Door.Free.wait(lock, [this] { return Door.Owner == std::thread::id(); });
    Door.Owner = self;
    Taken = true;
}

Turn::Holder::~Holder()
{
    if (Taken)
    {
        const std::lock_guard lock(Door.Lock);
        Door.Owner = {};
        Door.Free.notify_one();
    }
}

} // namespace Platform
