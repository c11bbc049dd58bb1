#include "RegistryValues.h"

#include "AdapterView.h"
#include "Errors.h"

#include <algorithm>
#include <cstring>
#include <fmt/core.h>
#include <optional>

namespace
{

struct NamedType
{
    std::uint32_t Type;
    std::string_view Name;
};

// Type numbers of the registry.
constexpr std::uint32_t Text = 1;
constexpr std::uint32_t ExpandText = 2;
constexpr std::uint32_t Binary = 3;
constexpr std::uint32_t Number = 4;
constexpr std::uint32_t TextList = 7;
constexpr NamedType TypeTable[] = {
    {Text, "sz"}, {ExpandText, "expand_sz"}, {Binary, "binary"}, {Number, "dword"}, {TextList, "multi_sz"},
};

/// Stored texts end in a NUL, which the size includes, as the registry requires.
RegistryValue TextValue(const std::string& text)
{
    RegistryValue value{Text, {text.begin(), text.end()}};
    value.Data.push_back(0);
    return value;
}

RegistryValue NumberValue(std::uint32_t number)
{
    RegistryValue value{Number, Bytes(sizeof number)};
    std::memcpy(value.Data.data(), &number, sizeof number);
    return value;
}

/// Returns the text up to its NUL, which a stored text may lack.
/// Lists have no text form here and are printed as bytes.
std::optional<std::string> AsText(const RegistryValue& value)
{
    if (value.Type != Text && value.Type != ExpandText)
        return std::nullopt;
    return std::string(value.Data.begin(), std::ranges::find(value.Data, 0));
}

/// Returns nothing if the stored size is not that of a number.
std::optional<std::uint32_t> AsNumber(const RegistryValue& value)
{
    std::uint32_t number = 0;
    if (value.Type != Number || value.Data.size() != sizeof number)
        return std::nullopt;
    std::memcpy(&number, value.Data.data(), sizeof number);
    return number;
}

/// Distinguishes a missing value from one that cannot be accessed; the library has one status for both.
OperationFailed AccessFailure(CDeviceIntf& device, const ValuePlace& place, unsigned int status, std::string_view what)
{
    if (status != ZV_SRVC_ERR_FAILURE)
        return {"AccessRegistry", status};
    if (HasValue(device, place))
        return {"AccessRegistry", status, ExitCode::OperationFailed, fmt::format("the value {}", what)};
    const std::string key = place.SubKey.empty() ? "the driver key" : fmt::format("key \"{}\"", place.SubKey);
    return {"AccessRegistry", status, ExitCode::NotFound, fmt::format("no value \"{}\" in {}", place.Name, key)};
}

} // namespace

RegistryValue ParseValue(const std::string& type, const std::string& text)
{
    if (type == "dword")
        return NumberValue(ParseNumber(text));
    return type == "binary" ? RegistryValue{Binary, ParseData(text)} : TextValue(text);
}

std::string ValueTypeName(std::uint32_t type)
{
    const auto* const named = std::ranges::find(TypeTable, type, &NamedType::Type);
    return named == std::end(TypeTable) ? std::to_string(type) : std::string(named->Name);
}

std::string ValueText(const RegistryValue& value)
{
    if (const auto text = AsText(value))
        return Printable(*text) + '\n';
    if (const auto number = AsNumber(value))
        return fmt::format("{0} (0x{0:x})\n", *number);
    // Lists, binary values and numbers of an unexpected size.
    return HexDump(value.Data);
}

Json ValueJson(const RegistryValue& value)
{
    const auto object = [&](Json shown) {
        return Json::Object{{"type", ValueTypeName(value.Type)}, {"value", std::move(shown)}};
    };
    if (const auto text = AsText(value))
        return object(*text);
    if (const auto number = AsNumber(value))
        return object(*number);
    return object(HexText(value.Data, ""));
}

bool HasValue(CDeviceIntf& device, const ValuePlace& place)
{
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    // Without a buffer the library reads the type and the size only.
    return device.AccessRegistry(ZV_REG_OP_READ, place.SubKey, place.Name, &type, nullptr, &size) == ZV_SRVC_SUCCESS;
}

RegistryValue ReadValue(CDeviceIntf& device, const ValuePlace& place)
{
    RegistryValue value;
    std::uint32_t size = 0;
    const auto read = [&](std::uint8_t* data) {
        const unsigned int status =
            device.AccessRegistry(ZV_REG_OP_READ, place.SubKey, place.Name, &value.Type, data, &size);
        if (status != ZV_SRVC_SUCCESS)
            throw AccessFailure(device, place, status, "cannot be read");
    };
    read(nullptr); // type and size only
    value.Data.resize(size);
    if (size != 0)
        read(value.Data.data());
    // The value may have become shorter between the two reads. If it grew, the second read fails.
    value.Data.resize(std::min<std::size_t>(size, value.Data.size()));
    return value;
}

void WriteValue(CDeviceIntf& device, const ValuePlace& place, RegistryValue value)
{
    auto size = static_cast<std::uint32_t>(value.Data.size());
    const unsigned int status =
        device.AccessRegistry(ZV_REG_OP_WRITE, place.SubKey, place.Name, &value.Type, value.Data.data(), &size);
    if (status == ZV_SRVC_ERR_FAILURE)
        throw OperationFailed("AccessRegistry", status, ExitCode::OperationFailed,
                              "the value cannot be written; run as administrator");
    Require("AccessRegistry", status);
}

void DeleteValue(CDeviceIntf& device, const ValuePlace& place)
{
    const unsigned int status =
        device.AccessRegistry(ZV_REG_OP_DELETE_VALUE, place.SubKey, place.Name, nullptr, nullptr, nullptr);
    if (status != ZV_SRVC_SUCCESS)
        throw AccessFailure(device, place, status, "cannot be deleted; run as administrator");
}
