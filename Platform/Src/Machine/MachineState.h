/// @file
/// A copy of everything that a machine consists of.
#pragma once

#include "AdapterTree.h"
#include "MachineChange.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Platform
{

/// Taken at one place of the log: later changes have larger numbers.
struct MachineState
{
    std::uint64_t Sequence = 0; ///< Of the last change that it contains.
    bool Administrator = true;
    bool RecordsRequests = false; ///< A journal is written.
    AdapterId LastId = 0;         ///< The largest id ever used.
    std::map<AdapterId, AdapterNode> Adapters = {};
    std::map<std::string, ValueMap, NameLess> Registry = {}; ///< Every key by its path.
    std::vector<Changes::DeviceAttached> Devices = {};
};

} // namespace Platform
