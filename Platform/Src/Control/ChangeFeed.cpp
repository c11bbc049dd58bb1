#include "ChangeFeed.h"

#include "MachineImpl.h"

#include <utility>

namespace Platform
{

ChangeFeed::ChangeFeed(MachineProvider provider, std::function<void()> wake)
    : CurrentOf(std::move(provider)), Wake(std::move(wake))
{
}

ChangeFeed::~ChangeFeed()
{
    std::shared_ptr<Machine> released; // may be the last reference: destroyed after the lock is released
    const ScopedLock lock(SourceLock);
    released = Source;
    Detach();
}

void ChangeFeed::AddSubscriber()
{
    const ScopedLock lock(SourceLock);
    ++Subscribers;
}

void ChangeFeed::RemoveSubscriber()
{
    std::shared_ptr<Machine> released;
    const ScopedLock lock(SourceLock);
    if (--Subscribers != 0)
        return;
    released = Source;
    Detach();
}

std::shared_ptr<Machine> ChangeFeed::Listen()
{
    // Repeated, because the current machine may change again before the feed listens to it.
    for (;;)
    {
        const std::shared_ptr<Machine> current = CurrentOf(); // without a lock: may create the machine
        std::shared_ptr<Machine> released;
        const ScopedLock lock(SourceLock);
        if (Source == current || Subscribers == 0)
            return current;
        released = Source;
        Detach();
        ChangeLog& log = current->Internal().Log;
        Listener = log.Listen([this](const LoggedChangePtr& change) { Put({.Change = change}); });
        Source = current;
        if (released)
            Put({.Replaced = log.LastSequence()});
    }
}

void ChangeFeed::Detach()
{
    if (Listener)
        Source->Internal().Log.Dismiss(*Listener);
    Listener.reset();
    Source.reset();
}

void ChangeFeed::Put(Item item) noexcept
try
{
    {
        const ScopedLock lock(ItemLock);
        const std::uint64_t sequence = item.Change ? item.Change->Sequence : item.Replaced;
        if (Waiting.DroppedTo != 0 || Waiting.Items.size() >= MostItems)
        {
            Waiting.DroppedTo = sequence;
            return;
        }
        Waiting.Items.push_back(std::move(item));
        if (std::exchange(HasWoken, true))
            return;
    }
    Wake();
}
catch (const std::bad_alloc&)
{
    // The gap in the numbers shows that the change is missing. The next change wakes the reader.
    const ScopedLock lock(ItemLock);
    HasWoken = false;
}

ChangeFeed::Batch ChangeFeed::Take()
{
    const ScopedLock lock(ItemLock);
    HasWoken = false;
    return std::exchange(Waiting, {});
}

} // namespace Platform
