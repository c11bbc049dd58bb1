/// @file
/// Information items by their number.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <span>
#include <vector>

/// What a driver keeps of the items that hosts set. Thread-safe.
class ItemStore
{
public:
    void Set(std::uint32_t id, std::span<const std::uint8_t> data);
    /// Fills the whole buffer; an item that is shorter, or was never set, leaves zeros.
    void Query(std::uint32_t id, std::span<std::uint8_t> buffer) const;

private:
    mutable std::mutex Lock; ///< Guards the map.
    std::map<std::uint32_t, std::vector<std::uint8_t>> Items;
};
