#include "DriverKeyText.h"

#include "OSPlatform.h"
#include "RecordText.h"

#include <algorithm>

std::optional<std::string> CDriverKeyText::Query(const CRegistryKey& key, const char* name, std::size_t fieldSize)
{
    std::string text(fieldSize, '\0');
    DWORD type = 0;
    auto size = static_cast<DWORD>(fieldSize);
    const LSTATUS status =
        RegQueryValueExA(key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &size);
    BeingDeleted = BeingDeleted || status == ERROR_KEY_DELETED;
    if (status != ERROR_SUCCESS)
        return std::nullopt;
    text.resize(std::min<std::size_t>(size, fieldSize));
    text.resize(std::min(text.find('\0'), text.size()));
    text.resize(CutAtCodePoint(text, fieldSize - 1).size());
    return text;
}

std::string CDriverKeyText::Read(const CRegistryKey& key, const char* name, std::size_t fieldSize)
{
    return Query(key, name, fieldSize).value_or(std::string());
}
