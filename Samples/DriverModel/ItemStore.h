/// @file
/// Information items by their number.
#pragma once

#include "AnnotatedLock.h"

#include <cstdint>
#include <map>
#include <span>
#include <vector>

/// Stores the items that hosts set. Thread-safe.
class ItemStore
{
public:
    void Set(std::uint32_t id, std::span<const std::uint8_t> data);
    /// Fills the whole buffer. Bytes beyond the stored item, or of an item never set, are zero.
    void Query(std::uint32_t id, std::span<std::uint8_t> buffer) const;
    /// Returns a copy of all items.
    std::map<std::uint32_t, std::vector<std::uint8_t>> All() const;

private:
    mutable Platform::Mutex Lock;
    std::map<std::uint32_t, std::vector<std::uint8_t>> Items PLATFORM_GUARDED_BY(Lock);
};
