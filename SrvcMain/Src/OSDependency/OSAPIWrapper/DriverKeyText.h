/// @file
/// Reads text values of an adapter's driver key as the fields of a record hold them.
#pragma once

#include "ScopedHandle.h"

#include "ZVDeviceInfo.h"

#include <cstddef>
#include <optional>
#include <string>

/// Reads from one key and its subkeys. All code that compares a value with a record's field reads the
/// value through this class, so that both sides are truncated in the same way.
class CDriverKeyText
{
public:
    /// Returns the value's text, truncated to what a field of `fieldSize` bytes holds including its NUL.
    /// @return nothing for a value that is missing or longer than the field.
    std::optional<std::string> Query(const CRegistryKey& key, const char* name, std::size_t fieldSize);
    /// Returns an empty text instead of nothing.
    std::string Read(const CRegistryKey& key, const char* name, std::size_t fieldSize);

    std::optional<std::string> QueryIdentity(const CRegistryKey& key)
    {
        return Query(key, "NetCfgInstanceId", sizeof _ZV_SRVC_DEVICE_INFO::NetCfgInstanceId);
    }

    /// Returns true when a key was marked for deletion during one of the reads. The driver is then being
    /// uninstalled, and missing values say nothing about the adapter.
    bool IsBeingDeleted() const { return BeingDeleted; }

private:
    bool BeingDeleted = false;
};
