#include "ForeignCallGate.h"

namespace Platform
{

ForeignCallGate::Holder::Holder(ForeignCallGate& gate) : Gate(gate)
{
    const auto self = std::this_thread::get_id();
    std::unique_lock lock(Gate.Lock);
    if (Gate.Owner == self)
        return;
    Gate.Free.wait(lock, [this] { return Gate.Owner == std::thread::id(); });
    Gate.Owner = self;
    Taken = true;
}

ForeignCallGate::Holder::~Holder()
{
    if (Taken)
    {
        const std::lock_guard lock(Gate.Lock);
        Gate.Owner = {};
        Gate.Free.notify_one();
    }
}

} // namespace Platform
