/// @file
/// Adapters and registry values in the JSON form of machine files.
#pragma once

#include "JsonNode.h"
#include "Machine.h"
#include "RegistryTree.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace Platform
{

/// Reads {"type": ..., "value": ...}. @throws JsonError, like the functions below.
RegistryValue ReadValue(const JsonNode& node);
/// Reads values by name.
void ReadValues(const JsonNode& node, ValueMap& values);
/// Sets the field of an adapter that has this key in a machine file. Returns false if there is none.
bool ReadAdapterField(const std::string& key, const JsonNode& node, AdapterDescription& adapter);

/// Returns what ReadValue reads. A value that is no well-formed text or number is written with its type number and its
/// bytes, so that nothing is lost.
nlohmann::json ValueToJson(const RegistryValue& value);
nlohmann::json ValuesToJson(const ValueMap& values);
/// Returns the fields that differ from those of an empty description.
nlohmann::json AdapterToJson(const AdapterDescription& adapter);

/// Returns pairs of hexadecimal digits.
std::string HexadecimalText(const std::vector<std::uint8_t>& bytes);

} // namespace Platform
