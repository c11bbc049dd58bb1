/// @file
/// A doubly linked list with its own mutex.
#pragma once

#include "Lock.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <list>
#include <utility>
#include <vector>

/// The mutex is held for list operations only: elements are destroyed, and nodes are allocated and freed,
/// without it. Nodes that a consumer returns are reused, so that a queue does not allocate on one thread
/// what another thread frees.
template <class T>
class CSafeList
{
public:
    using CList = std::list<T>;

    /// Maximum number of nodes kept for reuse; further nodes return to the allocator.
    static constexpr std::size_t MaxSpare = 1024;

    std::uint32_t Size() const
    {
        const CScopedLock lock(Mutex);
        return static_cast<std::uint32_t>(Elements.size());
    }

    /// Removes all elements.
    void Clear() { Replace({}); }

    /// Replaces all elements.
    void Replace(CList elements)
    {
        const CScopedLock lock(Mutex);
        Elements.swap(elements);
    }

    void PushBack(T element)
    {
        if (!PushIntoSpare(element))
            PushNew(std::move(element));
    }

    /// Moves elements to the end without allocating.
    void Append(CList& elements)
    {
        const CScopedLock lock(Mutex);
        Elements.splice(Elements.end(), elements);
    }

    /// Returns a copy of the current elements, for iteration without the mutex.
    std::vector<T> Snapshot() const
    {
        const CScopedLock lock(Mutex);
        return {Elements.begin(), Elements.end()};
    }

    /// Moves all elements to the end of `taken` and keeps the nodes of `spent` for reuse. The caller must
    /// have emptied the elements of `spent`, because a spare node is not reset.
    void TakeAll(CList& taken, CList& spent)
    {
        const CScopedLock lock(Mutex);
        if (Spare.size() < MaxSpare)
            Spare.splice(Spare.end(), spent);
        SpareHint.store(!Spare.empty(), std::memory_order_relaxed);
        taken.splice(taken.end(), Elements);
    }

    /// Calls `work` with the elements while holding the mutex; for a few instructions that must be one
    /// step.
    template <class Work>
    decltype(auto) With(Work&& work)
    {
        const CScopedLock lock(Mutex);
        return std::forward<Work>(work)(Elements);
    }

private:
    bool PushIntoSpare(T& element)
    {
        if (!SpareHint.load(std::memory_order_relaxed))
            return false;
        const CScopedLock lock(Mutex);
        if (Spare.empty())
            return false;
        Spare.front() = std::move(element);
        Elements.splice(Elements.end(), Spare, Spare.begin());
        if (Spare.empty())
            SpareHint.store(false, std::memory_order_relaxed);
        return true;
    }

    void PushNew(T&& element)
    {
        CList node;
        node.push_back(std::move(element));
        const CScopedLock lock(Mutex);
        Elements.splice(Elements.end(), node);
    }

    mutable CLock Mutex;
    CList Elements ZV_GUARDED_BY(Mutex);
    CList Spare ZV_GUARDED_BY(Mutex);
    std::atomic<bool> SpareHint{false}; ///< Written under Mutex; avoids locking when there is no spare node.
};
