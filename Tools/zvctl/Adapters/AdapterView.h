/// @file
/// An adapter record in words.
#pragma once

#include <ZVDeviceInfo.h>

#include <nlohmann/json_fwd.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The text of a record's field, which may fill its field without a NUL.
template <std::size_t Width>
std::string_view FieldText(const char (&field)[Width])
{
    return {field, static_cast<std::size_t>(std::find(field, field + Width, '\0') - field)};
}

/// Text for one line of a terminal: control characters become "?".
std::string Printable(std::string_view text);

/// Returns the bus of a service name: "USB", "SDIO", "PCIe", or "?".
std::string_view BusOf(std::string_view service);

/// State flags by name. "ready" comes first when none of them makes the adapter unusable.
std::vector<std::string_view> FlagNames(std::uint32_t stateFlags);

/// JSON as the tool prints it. Bytes that are not UTF-8 show as U+FFFD.
std::string JsonText(const nlohmann::ordered_json& value);

/// A JSON object with every field of the record, and the bus.
std::string AdapterJson(const _ZV_SRVC_DEVICE_INFO& adapter);

/// A JSON array of such objects.
std::string AdapterJson(const std::vector<_ZV_SRVC_DEVICE_INFO>& adapters);

/// A line for each field of the record.
std::string AdapterDetails(const _ZV_SRVC_DEVICE_INFO& adapter);

/// A table with a heading, one line for each adapter.
std::string AdapterTable(const std::vector<_ZV_SRVC_DEVICE_INFO>& adapters);
