/// @file
/// The JSON form of changes and of whole machines, which the control protocol, joined processes and journals share.
/// docs/CONTROL.md describes it.
#pragma once

#include "JsonNode.h"
#include "MachineChange.h"
#include "MachineState.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

namespace Platform
{

/// Returns {"sequence", "changed", "kind", "data"}.
nlohmann::json ToJson(const LoggedChange& change);
/// Returns {"kind", "data"}.
nlohmann::json ToJson(const MachineChange& change);
/// Reads {"kind", "data"}; other members are ignored. @throws JsonError
MachineChange ReadChange(const JsonNode& node);
/// Reads what ToJson writes. @throws JsonError
LoggedChange ReadLoggedChange(const JsonNode& node);

/// Returns the answer of the method "describe".
nlohmann::json ToJson(const MachineState& state);
/// Reads what ToJson writes. @throws JsonError
MachineState ReadState(const JsonNode& node);

/// Formats a time as RFC 3339 in UTC with microseconds.
std::string TimeText(std::chrono::system_clock::time_point time);
/// Reads what TimeText writes. @throws JsonError
std::chrono::system_clock::time_point ReadTime(const JsonNode& node);

} // namespace Platform
