/// @file
/// One walk over the network class of the machine.
#pragma once

#include "OSPlatform.h"
#include "ScopedHandle.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

/// A present device whose node can be read and is not hidden.
class CNetDevice
{
public:
    CNetDevice(HDEVINFO set, const SP_DEVINFO_DATA& data, std::uint32_t problem)
        : Set(set), Data(data), ProblemNumber(problem)
    {
    }

    /// Problem number of the node; 0 when it works.
    std::uint32_t Problem() const { return ProblemNumber; }

    /// The first string of a 16-bit property.
    /// @param capacity bytes at most, the NUL included.
    /// @return nothing when the device has no such property or it does not fit.
    std::optional<std::u16string> Property(DWORD code, DWORD capacity) const;

private:
    HDEVINFO Set; ///< The walk's.
    SP_DEVINFO_DATA Data;
    std::uint32_t ProblemNumber;
};

/// Holds the set of present network devices and the root key of their driver keys. Used on one
/// thread, with no lock held.
class CNetClassWalk
{
public:
    /// Gets the class, the set and the root key.
    /// @return false when one of them cannot be had; the reason is traced.
    bool Open();

    /// The next device, in the order of the platform; devices that cannot be read or that the
    /// system hides are passed over. Nothing at the end.
    std::optional<CNetDevice> Next();

    /// Opens a device's driver key.
    /// @param path its path below the class root.
    CRegistryKey OpenDriverKey(const std::u16string& path) const;

private:
    CDeviceSet Set;
    CRegistryKey ClassRoot;
    DWORD Index = 0;
};
