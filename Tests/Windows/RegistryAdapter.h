/// @file
/// Adapters for the Windows device enumeration that consist of registry entries only.
#pragma once

#include "OSPlatform.h"

#include <optional>
#include <string>

/// A text that is not set does not exist.
struct AdapterTexts
{
    std::optional<std::string> Service = {}; ///< Value "Service" of the driver key's subkey "NDI".
    std::wstring HardwareId;
    std::optional<std::wstring> FriendlyName = {};
    std::optional<std::wstring> Description = {};
};

/// A Windows that has never had a network adapter does not know their class by its name; this one does.
void NameNetworkClass();

/// Creates a device and its driver key, or restores them.
/// @param number up to four digits; adapters of different numbers are different devices.
void AddRegistryDevice(int number, const AdapterTexts& texts);
/// Creates an adapter that the library lists, or restores it.
/// @param identity its NetCfgInstanceId, which also names its control device.
/// @param service the driver service that a filter selects, such as "zvwlanu".
void AddRegistryAdapter(int number, const std::string& identity, const std::string& service);

/// Removes the device: the enumeration no longer finds it.
void RemoveRegistryDevice(int number);
/// Removes the device and its driver key.
void RemoveRegistryAdapter(int number);
/// Removes all of them, including those that processes left when they ended.
void RemoveRegistryAdapters();
/// Deletes its driver key, like an uninstallation of the driver.
void RemoveDriverEntry(int number);
