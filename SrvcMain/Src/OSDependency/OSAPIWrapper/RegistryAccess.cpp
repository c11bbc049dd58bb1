#include "RegistryAccess.h"

#include "ScopedHandle.h"
#include "TracePoint.h"

namespace
{

/// DWORD and std::uint32_t are different types on Windows, although both have 32 bits.
DWORD* AsWord(std::uint32_t* word)
{
    static_assert(sizeof(DWORD) == sizeof(std::uint32_t));
    return reinterpret_cast<DWORD*>(word);
}

std::uint32_t Traced(LSTATUS status, const std::string& path, const std::string& valueName)
{
    const auto error = static_cast<std::uint32_t>(status);
    if (error != ERROR_SUCCESS)
        ZV_TRACE(RegistryCallFailed, path, valueName, error);
    return error;
}

} // namespace

std::uint32_t GetKeyValue(HKEY hive, const std::string& path, const std::string& valueName, std::uint32_t* type,
                          std::uint8_t* data, std::uint32_t* size)
{
    CRegistryKey key;
    LSTATUS status = RegOpenKeyA(hive, path.c_str(), key.Receive());
    if (status == ERROR_SUCCESS)
        status = RegQueryValueExA(key.Get(), valueName.c_str(), nullptr, AsWord(type), data, AsWord(size));
    return Traced(status, path, valueName);
}

std::uint32_t SetKeyValue(HKEY hive, const std::string& path, const std::string& valueName, std::uint32_t type,
                          const std::uint8_t* data, std::uint32_t size)
{
    CRegistryKey key;
    LSTATUS status = RegOpenKeyA(hive, path.c_str(), key.Receive());
    if (status != ERROR_SUCCESS)
        status = RegCreateKeyA(hive, path.c_str(), key.Receive());
    if (status == ERROR_SUCCESS)
    {
        status = RegSetValueExA(key.Get(), valueName.c_str(), 0, type, data, size);
        RegFlushKey(key.Get());
    }
    return Traced(status, path, valueName);
}

std::uint32_t DeleteKeyValue(HKEY hive, const std::string& path, const std::string& valueName)
{
    return Traced(RegDeleteKeyValueA(hive, path.c_str(), valueName.c_str()), path, valueName);
}

std::uint32_t DeleteKey(HKEY hive, const std::string& path)
{
    return Traced(RegDeleteKeyA(hive, path.c_str()), path, "");
}
