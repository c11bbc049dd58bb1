#include "ChangeLog.h"

#include <utility>

namespace Platform
{

std::uint64_t ChangeLog::LastSequence() const
{
    const ScopedLock lock(Lock);
    return Last;
}

ChangeLog::ListenerId ChangeLog::Listen(Listener listener)
{
    const ScopedLock lock(Lock);
    Listeners.push_back(std::move(listener));
    Listening = true;
    return std::prev(Listeners.end());
}

void ChangeLog::Dismiss(ListenerId listener)
{
    std::list<Listener> removed; // destroyed after the lock is released
    const ScopedLock lock(Lock);
    removed.splice(removed.begin(), Listeners, listener);
    Listening = !Listeners.empty();
}

void ChangeLog::Append(MachineChange change)
{
    const ScopedLock lock(Lock);
    const auto entry = std::make_shared<const LoggedChange>(
        LoggedChange{.Sequence = Last + 1, .Time = std::chrono::system_clock::now(), .What = std::move(change)});
    ++Last;
    for (const Listener& listener : Listeners)
        listener(entry);
}

void ChangeLog::Skip() noexcept
{
    const ScopedLock lock(Lock);
    ++Last;
}

} // namespace Platform
