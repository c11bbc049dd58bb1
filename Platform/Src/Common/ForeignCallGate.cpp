#include "ForeignCallGate.h"

namespace Platform
{

ForeignCallGate::Holder::Holder(ForeignCallGate& gate) : Gate(gate)
{
    const auto self = std::this_thread::get_id();
    const ScopedLock lock(Gate.Lock);
    // A nested call, from foreign code that this thread is running. Waiting here would never end.
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
        // While holding the lock: the gate may be destroyed as soon as a waiting thread has passed it.
        Gate.Free.NotifyOne();
    }
}

} // namespace Platform
