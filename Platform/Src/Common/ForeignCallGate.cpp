#include "ForeignCallGate.h"

namespace Platform
{

ForeignCallGate::Holder::Holder(ForeignCallGate& gate) : Gate(gate)
{
    const auto self = std::this_thread::get_id();
    const ScopedLock lock(Gate.Lock);
    if (Gate.Owner == self)
        return;
    while (Gate.Owner != std::thread::id())
        Gate.Free.Wait(Gate.Lock);
    Gate.Owner = self;
    Taken = true;
}

ForeignCallGate::Holder::~Holder()
{
    if (Taken)
    {
        const ScopedLock lock(Gate.Lock);
        Gate.Owner = {};
        Gate.Free.NotifyOne();
    }
}

} // namespace Platform
