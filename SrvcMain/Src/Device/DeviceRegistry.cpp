/// AccessRegistry and GetAbility: values of the adapter's driver key.

#include "CUWPDevice.h"

#include "CVirtualDriverBinding.h"
#include "RegistryAccess.h"
#include "TracePoint.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace
{

constexpr std::size_t AbilityRoom = 56;

/// Decimal text by the rules of atoi, with an end to what it can count.
std::uint32_t NumberOf(const char* text)
{
    using Limits = std::numeric_limits<std::int32_t>;
    const long long number = std::strtoll(text, nullptr, 10);
    return static_cast<std::uint32_t>(std::clamp<long long>(number, Limits::min(), Limits::max()));
}

} // namespace

bool CUWPDevice::Fake_AccessRegistry(std::uint32_t operation, const std::string& subKey, const std::string& valueName,
                                     std::uint32_t* type, std::uint8_t* data, std::uint32_t* size) const
{
    const ZVVirtualRegistry access = Virtual_AccessRegistry;
    if (access == nullptr)
        return false;
    access(DeviceInfo->NetCfgInstanceId, operation, subKey.c_str(), valueName.c_str(), type, data, size);
    return true;
}

unsigned int CUWPDevice::AccessRegistry(std::uint32_t operation, std::string subKey, std::string valueName,
                                        std::uint32_t* type, std::uint8_t* data, std::uint32_t* size)
{
    if (!IsDeviceReady())
        return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    if (Fake_AccessRegistry(operation, subKey, valueName, type, data, size))
        return ZV_SRVC_SUCCESS;
    std::string path = ZV_NETWORK_CLASS_PATH;
    path += FieldText(DeviceInfo->DriverKeyIndex);
    if (!subKey.empty())
        path += '\\' + subKey;
    ZV_TRACE(RegistryAccess, operation, path, valueName);
    std::uint32_t error = 0;
    switch (operation)
    {
    case ZV_REG_OP_READ:
        error = GetKeyValue(HKEY_LOCAL_MACHINE, path, valueName, type, data, size);
        break;
    case ZV_REG_OP_WRITE:
        if (type == nullptr || size == nullptr || (data == nullptr && *size != 0))
            return ZV_SRVC_ERR_INVALID_PARAMETER;
        error = SetKeyValue(HKEY_LOCAL_MACHINE, path, valueName, *type, data, *size);
        break;
    case ZV_REG_OP_DELETE_VALUE:
        error = DeleteKeyValue(HKEY_LOCAL_MACHINE, path, valueName);
        break;
    default:
        break;
    }
    ZV_TRACE(RegistryResult, operation, error);
    return error == 0 ? ZV_SRVC_SUCCESS : ZV_SRVC_ERR_FAILURE;
}

unsigned int CUWPDevice::GetAbility(std::uint32_t* result)
{
    if (!IsDeviceReady())
        return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    if (result == nullptr)
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    // One byte more than the read may fill, so that a text always has an end.
    std::array<std::uint8_t, AbilityRoom + 1> data{};
    std::uint32_t type = 0;
    std::uint32_t size = AbilityRoom;
    if (AccessRegistry(ZV_REG_OP_READ, "", "ZVSrvcLibSupport", &type, data.data(), &size) != ZV_SRVC_SUCCESS)
        return ZV_SRVC_ERR_ABILITY_QUERY;
    switch (type)
    {
    case REG_SZ:
        *result = NumberOf(reinterpret_cast<const char*>(data.data()));
        return ZV_SRVC_SUCCESS;
    case REG_DWORD:
        std::memcpy(result, data.data(), sizeof *result);
        return ZV_SRVC_SUCCESS;
    default:
        *result = 0;
        return ZV_SRVC_ERR_ABILITY_QUERY;
    }
}
