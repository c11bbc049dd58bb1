/// @file
/// What the operating system knows of an adapter, whether or not the library lists it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// The properties that decide whether the library lists and opens an adapter.
struct AdapterFacts
{
    std::string Name = {};                            ///< May be empty.
    std::optional<std::string> Identity = {};         ///< Value "NetCfgInstanceId" of the driver key.
    std::optional<std::string> DeviceInstanceId = {}; ///< Value "DeviceInstanceID" of the driver key.
    std::optional<std::string> Service = {};          ///< Value "Service" of the key "NDI", in lower case.
    bool Present = true;
    bool Readable = true; ///< The status of the node can be read.
    bool Hidden = false;
    std::uint32_t Problem = 0;
    bool HasHardwareId = true;
    bool HasDriverKeyName = true; ///< The device property that names the driver key.
    bool HasDriverKey = true;
    bool HasLinkage = true;
    bool HasNdi = true;
    bool HasControlDevice = true; ///< A control device of the name that the library opens exists.
};
