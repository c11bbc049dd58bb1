/// @file
/// Enumerates the devices of the machine.
#pragma once

#include "OSPlatform.h"
#include "ScopedHandle.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

/// A present device whose node can be read and is not hidden.
class CDeviceNode
{
public:
    CDeviceNode(HDEVINFO set, const SP_DEVINFO_DATA& data, std::uint32_t problem)
        : Set(set), Data(data), ProblemNumber(problem)
    {
    }

    /// Returns the problem number of the node; 0 when it works.
    std::uint32_t Problem() const { return ProblemNumber; }

    /// Returns the first string of a 16-bit property.
    /// @param capacity maximum number of bytes, including the NUL.
    /// @return nothing when the device has no such property or it does not fit.
    std::optional<std::u16string> Property(DWORD code, DWORD capacity) const;

    /// Opens the device's driver key for reading and writing.
    /// @return an empty handle when there is no key or the caller has not the rights.
    CRegistryKey OpenDriverKey() const;

    /// Changes the node's state through the device installer.
    /// @param state DICS_ENABLE or DICS_DISABLE.
    /// @param scope DICS_FLAG_GLOBAL or DICS_FLAG_CONFIGSPECIFIC.
    /// @return 0, or the platform's error number.
    DWORD ChangeState(DWORD state, DWORD scope) const;

private:
    HDEVINFO Set; ///< The devices of the network class.
    SP_DEVINFO_DATA Data;
    std::uint32_t ProblemNumber;
};

/// Maximum number of bytes that are read of a property without a length limit of its own.
inline constexpr DWORD ZV_PROPERTY_CAPACITY = 1000;

/// Reads the GUIDs of the network class.
/// @param capacity maximum number of GUIDs.
/// @return false when there are more, or when they cannot be read.
bool FindNetworkClass(GUID* guids, DWORD capacity);

/// A set of devices in the order of Windows. Used on one thread, with no lock held.
class CDeviceWalk
{
public:
    CDeviceWalk() = default;
    explicit CDeviceWalk(HDEVINFO set) : Set(set) {}

    explicit operator bool() const { return static_cast<bool>(Set); }

    /// Returns the next device, or nothing at the end. Skips devices that cannot be read or are hidden.
    std::optional<CDeviceNode> Next();

protected:
    CDeviceSet Set;

private:
    DWORD Index = 0;
};

/// Holds the set of present network devices and the root key of their driver keys.
class CNetClassWalk : public CDeviceWalk
{
public:
    /// Opens the set and the root key.
    /// @return false when one of them cannot be opened; the reason is traced.
    bool Open();

    /// Opens a device's driver key.
    /// @param path its path below the class root.
    CRegistryKey OpenDriverKey(const std::u16string& path) const;

private:
    CRegistryKey ClassRoot;
};
