/// @file
/// Converts adapter records to text and JSON.
#pragma once

#include "Json.h"

#include <ZVDeviceInfo.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Returns the text of a field, which lacks a NUL if it fills the field.
template <std::size_t Width>
std::string_view FieldText(const char (&field)[Width])
{
    return {field, static_cast<std::size_t>(std::find(field, field + Width, '\0') - field)};
}

/// Replaces control characters by "?", so that the text fits one line of a terminal.
std::string Printable(std::string_view text);

/// Returns the bus of a service name: "USB", "SDIO", "PCIe", or "?".
std::string_view BusOf(std::string_view service);

/// Returns the names of state flags, beginning with "ready" if none of them makes the adapter unusable.
std::vector<std::string_view> FlagNames(std::uint32_t stateFlags);

/// Returns the flag names, separated by commas.
std::string FlagText(std::uint32_t stateFlags);

/// Returns every field of the record, and the bus.
Json AdapterJson(const _ZV_SRVC_DEVICE_INFO& adapter);

/// Returns a line for each field of the record.
std::string AdapterDetails(const _ZV_SRVC_DEVICE_INFO& adapter);

/// Returns a table with a heading and one line for each adapter.
/// @param width the columns of the terminal. The longest columns are cut to fit; without a width none is.
std::string AdapterTable(const std::vector<_ZV_SRVC_DEVICE_INFO>& adapters, std::optional<std::size_t> width);
