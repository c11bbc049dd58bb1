/// @file
/// Events, what else threads wait for, and the wait itself.
#pragma once

#include "AnnotatedLock.h"
#include "HandleTable.h"
#include "WinTypes.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace Platform
{

/// One waiting thread. The signalling thread decides which waiters a signal releases and wakes only those, so that a
/// later Reset cannot take the signal back.
struct Waiter;

/// An object that is signalled or not. One lock for all objects makes a wait for any of them atomic; it is held for a
/// few instructions at a time. Thread-safe.
class Waitable
{
public:
    Waitable(bool manualReset, bool signalled);

    void Signal();
    void Reset();

    /// Blocks until an object is signalled and consumes it if it is automatic; the lowest index wins.
    /// @param objects at most MAXIMUM_WAIT_OBJECTS.
    /// @return its index; empty on time-out.
    static std::optional<std::size_t> WaitAny(std::span<const std::shared_ptr<Waitable>> objects, DWORD milliseconds);

private:
    friend struct Waiter;
    /// Part of the waiter, because a wait must not fail for lack of memory.
    struct Link
    {
        Waiter* Who;
        std::size_t Index; // of this object in the waiter's list
        Link* Next;
    };

    static inline constinit Mutex Lock;

    void Append(Link& link) PLATFORM_REQUIRES(Lock);
    void Remove(const Waiter& who) PLATFORM_REQUIRES(Lock);
    static std::optional<std::size_t> TakeAny(std::span<const std::shared_ptr<Waitable>> objects)
        PLATFORM_REQUIRES(Lock);

    static std::optional<std::size_t> Poll(std::span<const std::shared_ptr<Waitable>> objects) PLATFORM_EXCLUDES(Lock);

    const bool ManualReset;
    bool Signalled PLATFORM_GUARDED_BY(Lock);
    Link* Waiters PLATFORM_GUARDED_BY(Lock) = nullptr; // longest wait first
};

/// An open event. All handles on a named event share one of these. Requests in flight refer only to the Waitable
/// inside, so they do not keep the name.
class EventHandle final : public HandleObject
{
public:
    static constexpr HandleKind Kind = HandleKind::Event;

    EventHandle(bool manualReset, bool signalled, std::string name = {})
        : Event(std::make_shared<Waitable>(manualReset, signalled)), Name(std::move(name))
    {
    }
    HandleKind KindOf() const override { return Kind; }

    const std::shared_ptr<Waitable> Event;
    const std::string Name; ///< Empty for an event without a name.
};

} // namespace Platform
