#include "VirtualAdapter.h"

#include <algorithm>
#include <cstring>

namespace
{

/// The record starts all zero and the last byte is never written, so the text keeps its NUL.
template <std::size_t Width>
void SetField(char (&field)[Width], const char* text)
{
    std::memcpy(field, text, std::min(std::strlen(text), Width - 1));
}

} // namespace

VirtualAdapter::VirtualAdapter(const char* name, const char* driverKeyIndex, const char* deviceInstanceId,
                               const char* netCfgInstanceId, const char* service)
{
    SetField(Description.DeviceName, name);
    SetField(Description.DriverKeyIndex, driverKeyIndex);
    SetField(Description.DeviceInstanceID, deviceInstanceId);
    SetField(Description.DriverVersion, "1.0.0.1");
    SetField(Description.NetCfgInstanceId, netCfgInstanceId);
    SetField(Description.InfSection, "ZvVirtual.ndi");
    SetField(Description.Service, service);
}

void VirtualAdapter::ReadValue(const std::string& subKey, const std::string& valueName, std::uint32_t& type,
                               std::uint8_t* data, std::uint32_t& size)
{
    const Platform::ScopedLock guard(Lock);
    const auto value = Values.find({subKey, valueName});
    const std::uint32_t room = std::exchange(size, 0);
    if (value == Values.end())
        return;
    type = value->second.Type;
    size = static_cast<std::uint32_t>(value->second.Data.size());
    if (data != nullptr && size <= room)
        std::ranges::copy(value->second.Data, data);
}

void VirtualAdapter::WriteValue(const std::string& subKey, const std::string& valueName, std::uint32_t type,
                                std::span<const std::uint8_t> data)
{
    const Platform::ScopedLock guard(Lock);
    Values[{subKey, valueName}] = {type, {data.begin(), data.end()}};
}

void VirtualAdapter::DeleteValue(const std::string& subKey, const std::string& valueName)
{
    const Platform::ScopedLock guard(Lock);
    Values.erase({subKey, valueName});
}
