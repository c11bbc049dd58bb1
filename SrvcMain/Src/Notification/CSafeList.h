/// @file
/// A doubly linked list with its own mutex.
#pragma once

#include "Lock.h"

#include <cstdint>
#include <list>
#include <utility>
#include <vector>

/// The mutex is held for list operations only: elements are destroyed, and nodes are allocated and freed,
/// without it.
template <class T>
class CSafeList
{
public:
    using CList = std::list<T>;

    std::uint32_t Size() const
    {
        const CScopedLock lock(Mutex);
        return static_cast<std::uint32_t>(Elements.size());
    }

    /// Removes all elements.
    void Clear()
    {
        CList removed;
        const CScopedLock lock(Mutex);
        Elements.swap(removed);
    }

    void PushBack(T element)
    {
        CList node;
        node.push_back(std::move(element));
        Append(node);
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
        std::vector<T> copy;
        CopyTo(copy);
        return copy;
    }

    /// Copies the current elements to an empty vector, which keeps its capacity from call to call.
    void CopyTo(std::vector<T>& copy) const
    {
        const CScopedLock lock(Mutex);
        copy.assign(Elements.begin(), Elements.end());
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
    mutable CLock Mutex;
    CList Elements ZV_GUARDED_BY(Mutex);
};
