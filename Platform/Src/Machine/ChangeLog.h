/// @file
/// Numbers the changes of a machine and passes them on in one order.
#pragma once

#include "AnnotatedLock.h"
#include "MachineChange.h"

#include <atomic>
#include <functional>
#include <list>
#include <memory>

namespace Platform
{

using LoggedChangePtr = std::shared_ptr<const LoggedChange>;

/// Thread-safe. A change of the machine's state is recorded while the machine's lock is held, so the order of the log
/// is the order of the changes.
class ChangeLog
{
public:
    /// Called while locks of the machine and of the log are held: it may only store the change for another thread.
    /// It must not throw.
    using Listener = std::function<void(const LoggedChangePtr&)>;
    using ListenerId = std::list<Listener>::iterator;

    /// Records what `make` returns. Without listeners nothing is made, so that a machine that nobody observes is as
    /// fast as one without a log.
    template <class Make>
    void Record(Make make) noexcept
    {
        if (!HasListeners())
            return;
        try
        {
            Append(make());
        }
        catch (const std::bad_alloc&)
        {
            Skip();
        }
    }

    bool HasListeners() const { return Listening.load(std::memory_order_relaxed); }
    /// Returns the number of the last change.
    std::uint64_t LastSequence() const;

    ListenerId Listen(Listener listener);
    /// The listener is not running when this returns, and is not called again.
    void Dismiss(ListenerId listener);

private:
    void Append(MachineChange change);
    /// Leaves a gap in the numbers: readers detect that they have missed a change.
    void Skip() noexcept;

    mutable Mutex Lock;
    std::list<Listener> Listeners PLATFORM_GUARDED_BY(Lock);
    std::uint64_t Last PLATFORM_GUARDED_BY(Lock) = 0;
    std::atomic<bool> Listening = false; // whether there are listeners
};

} // namespace Platform
