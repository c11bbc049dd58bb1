#include "ItemStore.h"

#include <algorithm>

void ItemStore::Set(std::uint32_t id, std::span<const std::uint8_t> data)
{
    const Platform::ScopedLock guard(Lock);
    Items[id].assign(data.begin(), data.end());
}

void ItemStore::Query(std::uint32_t id, std::span<std::uint8_t> buffer) const
{
    // Before the lock is taken: the buffer belongs to the caller.
    std::ranges::fill(buffer, std::uint8_t{0});
    const Platform::ScopedLock guard(Lock);
    if (const auto item = Items.find(id); item != Items.end())
        std::copy_n(item->second.begin(), std::min(item->second.size(), buffer.size()), buffer.begin());
}

std::map<std::uint32_t, std::vector<std::uint8_t>> ItemStore::All() const
{
    const Platform::ScopedLock guard(Lock);
    return Items;
}
