/// @file
/// A hash map from text to text with its own mutex.
#pragma once

#include "Lock.h"

#include <string>
#include <unordered_map>

class CSafeMap
{
public:
    /// Adds a pair; a key that is present keeps its value.
    void Insert(const std::string& key, const std::string& value)
    {
        const CScopedLock lock(Mutex);
        Entries.try_emplace(key, value);
    }

    /// A copy of the key's value, or an empty text.
    std::string Get(const std::string& key) const
    {
        const CScopedLock lock(Mutex);
        const auto found = Entries.find(key);
        return found == Entries.end() ? std::string() : found->second;
    }

private:
    mutable CLock Mutex;
    std::unordered_map<std::string, std::string> Entries ZV_GUARDED_BY(Mutex);
};
