/// @file
/// Adapters for the system's set-up walk, made of nothing but their registry entries.
#pragma once

#include <string>

/// A system that has never had a network adapter does not know their class by its name; this one does.
void NameNetworkClass();

/// Creates an adapter, or restores it.
/// @param number up to four digits; adapters of different numbers are different devices.
/// @param identity its NetCfgInstanceId, which also names its control device.
/// @param service the driver service that a filter selects, such as "zvwlanu".
void AddRegistryAdapter(int number, const std::string& identity, const std::string& service);

/// Takes it out of the registry: the walk does not find it any more.
void RemoveRegistryAdapter(int number);
/// Takes all of them out, those too that processes left when they ended.
void RemoveRegistryAdapters();
/// Deletes its driver key, like an uninstallation of the driver.
void RemoveDriverEntry(int number);

/// An adapter for as long as it is in scope.
class ScopedAdapter
{
public:
    ScopedAdapter(int number, const std::string& identity, const std::string& service) : Number(number)
    {
        AddRegistryAdapter(number, identity, service);
    }
    ~ScopedAdapter() { RemoveRegistryAdapter(Number); }
    ScopedAdapter(const ScopedAdapter&) = delete;
    ScopedAdapter& operator=(const ScopedAdapter&) = delete;

private:
    const int Number;
};
