#include "HandleTable.h"

#include <algorithm>

namespace Platform
{

HandleTable& HandleTable::Instance()
{
    // Never destroyed: threads may call while the process ends.
    static HandleTable& table = *new HandleTable;
    return table;
}

HANDLE HandleTable::Add(std::shared_ptr<HandleObject> object)
{
    const ScopedLock lock(Lock);
    LastNumber += 4; // as on Windows, which leaves the two low bits to the caller
    Objects.emplace(LastNumber, std::move(object));
    return reinterpret_cast<HANDLE>(LastNumber);
}

std::size_t HandleTable::Count(HandleKind kind) const
{
    const ScopedLock lock(Lock);
    return static_cast<std::size_t>(
        std::ranges::count_if(Objects, [kind](const auto& entry) { return entry.second->KindOf() == kind; }));
}

std::shared_ptr<HandleObject> HandleTable::FindAny(const void* handle, HandleKind kind) const
{
    const ScopedLock lock(Lock);
    const auto found = Objects.find(reinterpret_cast<std::uintptr_t>(handle));
    // A handle of another kind is as invalid as a closed one, as on Windows.
    return found != Objects.end() && found->second->KindOf() == kind ? found->second : nullptr;
}

bool HandleTable::CloseAny(const void* handle, HandleKind kind)
{
    std::shared_ptr<HandleObject> closed; // may be the last reference: destroyed after the lock is released
    const ScopedLock lock(Lock);
    const auto found = Objects.find(reinterpret_cast<std::uintptr_t>(handle));
    if (found == Objects.end() || found->second->KindOf() != kind)
        return false;
    closed = std::move(found->second);
    Objects.erase(found);
    return true;
}

} // namespace Platform
