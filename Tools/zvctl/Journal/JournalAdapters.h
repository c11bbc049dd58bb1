/// @file
/// Follows the adapters of a journal.
#pragma once

#include "JournalFile.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

/// An adapter after the changes so far.
struct KnownAdapter
{
    std::string Name;           ///< The name that the library shows.
    std::string Key;            ///< What the journal calls it: its number or its identity.
    std::string State;          ///< "present", "problem 22", "absent", or "removed" from the machine.
    std::string Device = {};    ///< Name of its control device; may be empty.
    std::string DriverKey = {}; ///< May be empty.
    std::map<std::string, std::string> Fields = {}; ///< JSON by key, as in a machine file.
};

/// What a change did to an adapter.
struct AdapterUpdate
{
    std::size_t Index; ///< Of the adapter.
    std::string Text;  ///< Such as "present -> absent"; empty if nothing differs.
};

/// The adapters of a machine, or those that the library lists, in the order of their first occurrence. Removed ones
/// stay.
class JournalAdapters
{
public:
    /// Starts with the adapters of the first line. @throws JsonError, like Apply.
    explicit JournalAdapters(const Platform::JsonNode& header);

    /// Follows a change of adapters, and returns what it did. Other changes do nothing.
    std::vector<AdapterUpdate> Apply(const JournalLine& line);

    const std::vector<KnownAdapter>& All() const { return Adapters; }

    /// Returns the index of the adapter with a control device.
    std::optional<std::size_t> OfDevice(std::string_view name) const;
    /// Returns the index of the adapter to whose driver key a registry key belongs. Cuts its path down to the part
    /// below the driver key.
    std::optional<std::size_t> OfRegistryKey(std::string& path) const;
    /// Returns the index of an adapter; adds it if it is new.
    std::size_t At(const std::string& key);

private:
    AdapterUpdate Describe(std::size_t index, const Platform::JsonNode& adapter);
    AdapterUpdate List(const Platform::JsonNode& change, const char* state);

    std::vector<KnownAdapter> Adapters;
};
