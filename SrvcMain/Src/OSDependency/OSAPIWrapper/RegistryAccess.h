/// @file
/// The 8-bit registry calls, each with the opening and closing of its key. No state; any thread.
#pragma once

#include "OSPlatform.h"

#include <cstdint>
#include <string>

/// Below HKEY_LOCAL_MACHINE: the driver keys of the network class. A DriverKeyIndex follows.
inline constexpr char ZV_NETWORK_CLASS_PATH[] =
    R"(SYSTEM\CurrentControlSet\Control\Class\{4D36E972-E325-11CE-BFC1-08002BE10318}\)";

/// Every result is the platform's error number, 0 for success; failures are traced.
/// @{

/// `type`, `data` and `size` mean what RegQueryValueExA makes of them.
std::uint32_t GetKeyValue(HKEY hive, const std::string& path, const std::string& valueName, std::uint32_t* type,
                          std::uint8_t* data, std::uint32_t* size);
/// Creates the key when it is missing; flushes it in any case.
std::uint32_t SetKeyValue(HKEY hive, const std::string& path, const std::string& valueName, std::uint32_t type,
                          const std::uint8_t* data, std::uint32_t size);
std::uint32_t DeleteKeyValue(HKEY hive, const std::string& path, const std::string& valueName);
std::uint32_t DeleteKey(HKEY hive, const std::string& path);
/// @}
