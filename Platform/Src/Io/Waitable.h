/// @file
/// What threads wait for, and the wait itself.
#pragma once

#include "WinTypes.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <span>

namespace Platform
{

/// One waiting thread. Who signals an object decides whom that lets through, and wakes those alone.
struct Waiter;

/// An object that is signalled or not. One lock for all of them keeps a wait for any exact; it is held
/// for a few instructions at a time. Thread-safe.
class Waitable
{
public:
    Waitable(bool manualReset, bool signalled);

    void Signal();
    void Reset();

    /// Waits until an object is signalled and consumes it if it is automatic; the lowest index wins. Empty
    /// on time-out. At most MAXIMUM_WAIT_OBJECTS objects.
    static std::optional<std::size_t> WaitAny(std::span<const std::shared_ptr<Waitable>> objects, DWORD milliseconds);

private:
    friend struct Waiter;
    /// Part of the waiter, since a wait must not fail for want of memory.
    struct Link
    {
        Waiter* Who;
        std::size_t Index; // of this object in the waiter's list
        Link* Next;
    };

    void Append(Link& link);
    void Remove(const Waiter& who);

    static std::mutex& Lock();
    static std::optional<std::size_t> TakeAny(std::span<const std::shared_ptr<Waitable>> objects);

    const bool ManualReset;
    // Both guarded by Lock().
    bool Signalled;
    Link* Waiters = nullptr; // longest first
};

} // namespace Platform
