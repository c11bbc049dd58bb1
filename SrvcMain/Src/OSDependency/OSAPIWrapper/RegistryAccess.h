/// @file
/// The 8-bit registry calls, each of which opens and closes its key. No state; any thread.
#pragma once

#include "OSPlatform.h"

#include <cstdint>
#include <string>

/// Below HKEY_LOCAL_MACHINE: the driver keys of the network class. A DriverKeyIndex follows.
inline constexpr char ZV_NETWORK_CLASS_PATH[] =
    R"(SYSTEM\CurrentControlSet\Control\Class\{4D36E972-E325-11CE-BFC1-08002BE10318}\)";

/// Each call returns the error number of Windows, 0 for success. Failures are traced.
/// @{

/// `type`, `data` and `size` have the meaning that they have for RegQueryValueExA.
std::uint32_t GetKeyValue(HKEY hive, const std::string& path, const std::string& valueName, std::uint32_t* type,
                          std::uint8_t* data, std::uint32_t* size);
/// Creates a missing key. Flushes the key even if the value could not be written.
std::uint32_t SetKeyValue(HKEY hive, const std::string& path, const std::string& valueName, std::uint32_t type,
                          const std::uint8_t* data, std::uint32_t size);
std::uint32_t DeleteKeyValue(HKEY hive, const std::string& path, const std::string& valueName);
std::uint32_t DeleteKey(HKEY hive, const std::string& path);
/// @}
