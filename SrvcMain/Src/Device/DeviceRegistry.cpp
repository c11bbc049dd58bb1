/// AccessRegistry and GetAbility: values of the adapter's driver key.

#include "CUWPDevice.h"

#include "RegistryAccess.h"
#include "SimulatedRequests.h"
#include "TracePoint.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace
{

constexpr std::size_t AbilityCapacity = 56;

/// Converts decimal text like atoi, but clamps to the range of 32 bits, which atoi leaves undefined.
std::uint32_t NumberOf(const char* text)
{
    using Limits = std::numeric_limits<std::int32_t>;
    const long long number = std::strtoll(text, nullptr, 10);
    return static_cast<std::uint32_t>(std::clamp<long long>(number, Limits::min(), Limits::max()));
}

/// Returns the status for arguments that no registry call accepts, and success for all others. Checked
/// before a simulated driver is called, so that both paths refuse the same arguments.
unsigned int CheckArguments(std::uint32_t operation, const std::uint32_t* type, const std::uint8_t* data,
                            const std::uint32_t* size)
{
    switch (operation)
    {
    case ZV_REG_OP_READ:
        return data != nullptr && size == nullptr ? ZV_SRVC_ERR_FAILURE : ZV_SRVC_SUCCESS;
    case ZV_REG_OP_WRITE:
        return type == nullptr || size == nullptr || (data == nullptr && *size != 0) ? ZV_SRVC_ERR_INVALID_PARAMETER
                                                                                     : ZV_SRVC_SUCCESS;
    default:
        return ZV_SRVC_SUCCESS;
    }
}

/// Performs one operation.
/// @return the error number of Windows.
std::uint32_t AccessKey(std::uint32_t operation, const std::string& path, const std::string& valueName,
                        std::uint32_t* type, std::uint8_t* data, std::uint32_t* size)
{
    switch (operation)
    {
    case ZV_REG_OP_READ:
        return GetKeyValue(HKEY_LOCAL_MACHINE, path, valueName, type, data, size);
    case ZV_REG_OP_WRITE:
        return SetKeyValue(HKEY_LOCAL_MACHINE, path, valueName, *type, data, *size);
    case ZV_REG_OP_DELETE_VALUE:
        return DeleteKeyValue(HKEY_LOCAL_MACHINE, path, valueName);
    default:
        return ERROR_SUCCESS;
    }
}

bool IsKnown(std::uint32_t operation)
{
    return operation == ZV_REG_OP_READ || operation == ZV_REG_OP_WRITE || operation == ZV_REG_OP_DELETE_VALUE;
}

} // namespace

unsigned int CUWPDevice::AccessRegistry(std::uint32_t operation, std::string subKey, std::string valueName,
                                        std::uint32_t* type, std::uint8_t* data, std::uint32_t* size)
{
    const ZVAdapterRecord record = Ready().Record;
    if (record == nullptr)
        return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    if (const unsigned int status = CheckArguments(operation, type, data, size); status != ZV_SRVC_SUCCESS)
        return status;
    if (Fake_AccessRegistry(*record, operation, subKey, valueName, type, data, size))
        return ZV_SRVC_SUCCESS;
    const std::string_view index = FieldText(record->DriverKeyIndex);
    std::string path = ZV_NETWORK_CLASS_PATH;
    path += index;
    if (!subKey.empty())
        path += '\\' + subKey;
    ZV_TRACE(RegistryAccess, operation, path, valueName);
    // A record without an index would name the key of the whole class, which is not the adapter's.
    const std::uint32_t error = index.empty() && IsKnown(operation)
                                    ? ERROR_FILE_NOT_FOUND
                                    : AccessKey(operation, path, valueName, type, data, size);
    ZV_TRACE(RegistryResult, operation, error);
    return error == ERROR_SUCCESS ? ZV_SRVC_SUCCESS : ZV_SRVC_ERR_FAILURE;
}

unsigned int CUWPDevice::GetAbility(std::uint32_t* result)
{
    if (Ready().Record == nullptr)
        return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    if (result == nullptr)
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    // One byte more than the read may fill, so that a text is always terminated.
    std::array<std::uint8_t, AbilityCapacity + 1> data{};
    std::uint32_t type = 0;
    std::uint32_t size = AbilityCapacity;
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
