/// @file
/// One adapter that exists in memory only.
#pragma once

#include "AnnotatedLock.h"
#include "ItemStore.h"

#include <ZVDeviceInfo.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

/// The simulated driver's state of one adapter. Thread-safe.
class VirtualAdapter
{
public:
    /// Creates a working adapter; the strings must fit into their fields.
    VirtualAdapter(const char* name, const char* driverKeyIndex, const char* deviceInstanceId,
                   const char* netCfgInstanceId, const char* service);

    /// Returns the record, whose state flags are always 0. Constant after construction.
    const _ZV_SRVC_DEVICE_INFO& Record() const { return Description; }

    /// Returns 0 for a present adapter, otherwise the ZV_DEV_ bits.
    std::uint32_t StateFlags() const { return Flags; }
    void SetStateFlags(std::uint32_t flags) { Flags = flags; }

    ItemStore& Items() { return StoredItems; }

    /// Writes type and size of the value, and its bytes if they fit into the capacity passed in `size`.
    /// A value that does not exist has size 0.
    void ReadValue(const std::string& subKey, const std::string& valueName, std::uint32_t& type, std::uint8_t* data,
                   std::uint32_t& size);
    void WriteValue(const std::string& subKey, const std::string& valueName, std::uint32_t type,
                    std::span<const std::uint8_t> data);
    void DeleteValue(const std::string& subKey, const std::string& valueName);

private:
    struct Value
    {
        std::uint32_t Type;
        std::vector<std::uint8_t> Data;
    };

    _ZV_SRVC_DEVICE_INFO Description = {}; ///< StateFlags stays 0; see Flags.
    std::atomic<std::uint32_t> Flags{0};
    ItemStore StoredItems;
    Platform::Mutex Lock;
    std::map<std::pair<std::string, std::string>, Value> Values PLATFORM_GUARDED_BY(Lock); ///< By subkey and name.
};
