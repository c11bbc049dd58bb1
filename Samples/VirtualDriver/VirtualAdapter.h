/// @file
/// One adapter that exists in memory only.
#pragma once

#include <ZVDeviceInfo.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <span>
#include <string>
#include <utility>
#include <vector>

/// What the simulated driver keeps for an adapter. Thread-safe.
class VirtualAdapter
{
public:
    /// An adapter that works; the texts must fit into their fields.
    VirtualAdapter(const char* name, const char* driverKeyIndex, const char* deviceInstanceId,
                   const char* netCfgInstanceId, const char* service);

    /// Constant after construction.
    const _ZV_SRVC_DEVICE_INFO& Record() const { return Description; }

    void SetItem(std::uint32_t infoId, std::span<const std::byte> data);
    /// Fills the whole buffer; an item that is shorter, or was never set, leaves zeros.
    void QueryItem(std::uint32_t infoId, std::span<std::byte> buffer);

    /// A read in the manner of the registry: writes type and size of the value, and its bytes when
    /// they fit into the room that `size` gives. A value that does not exist has the size 0.
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

    _ZV_SRVC_DEVICE_INFO Description = {};
    std::mutex Lock; ///< Guards the two maps below.
    std::map<std::uint32_t, std::vector<std::byte>> Items;
    std::map<std::pair<std::string, std::string>, Value> Values; ///< By subkey and name.
};
