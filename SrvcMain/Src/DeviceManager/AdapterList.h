/// @file
/// The listed adapters, in listing order.
#pragma once

#include "AdapterRecord.h"
#include "Lock.h"

#include <memory>
#include <utility>
#include <vector>

using ZVAdapterRecords = std::vector<ZVAdapterRecord>;

/// Holds immutable states of the list. A writer prepares a new state and swaps it in; a reader takes the
/// current one. Both hold the lock for a pointer only, however many adapters are listed.
class CAdapterList
{
public:
    using CState = std::shared_ptr<const ZVAdapterRecords>;

    /// Returns the current state; never null.
    CState Get() const
    {
        const CScopedLock lock(Mutex);
        return State;
    }

    /// Exchanges the current state for `state`, which must not be null. The caller destroys the previous
    /// one, with no lock held.
    void Swap(CState& state) noexcept
    {
        const CScopedLock lock(Mutex);
        State.swap(state);
    }

private:
    mutable CLock Mutex;
    CState State ZV_GUARDED_BY(Mutex) = std::make_shared<const ZVAdapterRecords>();
};
