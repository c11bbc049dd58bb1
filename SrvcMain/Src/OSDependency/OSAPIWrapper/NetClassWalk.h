/// @file
/// Walks over the devices of the machine.
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

    /// Problem number of the node; 0 when it works.
    std::uint32_t Problem() const { return ProblemNumber; }

    /// The first string of a 16-bit property.
    /// @param capacity bytes at most, the NUL included.
    /// @return nothing when the device has no such property or it does not fit.
    std::optional<std::u16string> Property(DWORD code, DWORD capacity) const;

    /// Opens the device's driver key for reading and writing; empty without one, and for a caller
    /// without the rights.
    CRegistryKey OpenDriverKey() const;

    /// Has the device installer change the node's state.
    /// @param state DICS_ENABLE or DICS_DISABLE.
    /// @param scope DICS_FLAG_GLOBAL or DICS_FLAG_CONFIGSPECIFIC.
    /// @return 0, or the platform's error number.
    DWORD ChangeState(DWORD state, DWORD scope) const;

private:
    HDEVINFO Set; ///< The devices of the network class.
    SP_DEVINFO_DATA Data;
    std::uint32_t ProblemNumber;
};

/// Bytes read of a property of any length.
inline constexpr DWORD ZV_PROPERTY_CAPACITY = 1000;

/// Gets the GUIDs of the network class.
/// @param capacity how many there may be.
/// @return false when there are more, or none can be had.
bool FindNetworkClass(GUID* guids, DWORD capacity);

/// A set of devices, visited in the order of the platform. Used on one thread, with no lock held.
class CDeviceWalk
{
public:
    CDeviceWalk() = default;
    explicit CDeviceWalk(HDEVINFO set) : Set(set) {}

    explicit operator bool() const { return static_cast<bool>(Set); }

    /// The next device; those that cannot be read or that the system hides are passed over. Nothing
    /// at the end.
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
    /// Gets the class, the set and the root key.
    /// @return false when one of them cannot be had; the reason is traced.
    bool Open();

    /// Opens a device's driver key.
    /// @param path its path below the class root.
    CRegistryKey OpenDriverKey(const std::u16string& path) const;

private:
    CRegistryKey ClassRoot;
};
