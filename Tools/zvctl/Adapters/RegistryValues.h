/// @file
/// Values of an adapter's driver key: reaching them, and how they are typed and shown.
#pragma once

#include "DataText.h"

#include <CDeviceIntf.h>

#include <nlohmann/json_fwd.hpp>
#include <string>

/// A value: its type number and its bytes as stored.
struct RegistryValue
{
    std::uint32_t Type = 0;
    Bytes Data;

    bool operator==(const RegistryValue&) const = default;
};

/// Reads a value: a text for "sz", a number for "dword", and what ParseData takes for "binary".
/// @throws std::invalid_argument that describes the error.
RegistryValue ParseValue(const std::string& type, const std::string& text);

/// The name of a value type, as "sz"; its number when it has none.
std::string ValueTypeName(std::uint32_t type);

/// Text and number as a line, anything else as a hex dump.
std::string ValueText(const RegistryValue& value);

/// The members "type" and "value": a text, a number, or hexadecimal digits.
nlohmann::ordered_json ValueJson(const RegistryValue& value);

/// A value of the adapter's driver key, or of a key below it.
struct ValuePlace
{
    std::string SubKey;
    std::string Name;
};

/// @throws OperationFailed, as all three do.
RegistryValue ReadValue(CDeviceIntf& device, const ValuePlace& place);
void WriteValue(CDeviceIntf& device, const ValuePlace& place, RegistryValue value);
void DeleteValue(CDeviceIntf& device, const ValuePlace& place);
