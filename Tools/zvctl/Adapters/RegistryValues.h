/// @file
/// Accesses, parses and prints values of an adapter's driver key.
#pragma once

#include "DataText.h"
#include "Json.h"

#include <CDeviceIntf.h>

#include <string>

/// A value as it is stored.
struct RegistryValue
{
    std::uint32_t Type = 0;
    Bytes Data;

    bool operator==(const RegistryValue&) const = default;
};

/// Parses a value: a text for "sz", a number for "dword", and what ParseData takes for "binary".
/// @throws std::invalid_argument that describes the error.
RegistryValue ParseValue(const std::string& type, const std::string& text);

/// Returns the name of a value type such as "sz", or its number if it has no name.
std::string ValueTypeName(std::uint32_t type);

/// Returns a text or a number as a line, any other value as a hex dump.
std::string ValueText(const RegistryValue& value);

/// Returns the members "type" and "value": a text, a number, or hexadecimal digits.
Json ValueJson(const RegistryValue& value);

/// The place of a value: the adapter's driver key, or a key below it.
struct ValuePlace
{
    std::string SubKey;
    std::string Name;
};

/// Returns whether a value can be read.
bool HasValue(CDeviceIntf& device, const ValuePlace& place);

/// All three throw OperationFailed with its cause.
RegistryValue ReadValue(CDeviceIntf& device, const ValuePlace& place);
void WriteValue(CDeviceIntf& device, const ValuePlace& place, RegistryValue value);
void DeleteValue(CDeviceIntf& device, const ValuePlace& place);
