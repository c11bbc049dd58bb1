#include "AdapterJson.h"

#include "Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <utility>
#include <variant>

namespace Platform
{

namespace
{

using nlohmann::json;

using ValueTable = std::map<std::string, RegistryValue>;
using Field =
    std::variant<std::optional<std::string> AdapterDescription::*, std::optional<std::u16string> AdapterDescription::*,
                 bool AdapterDescription::*, std::uint32_t AdapterDescription::*, ValueTable AdapterDescription::*>;

// The keys of an adapter. They are documented in docs/MACHINE-FILE.md.
constexpr std::array AdapterFields = std::to_array<std::pair<std::string_view, Field>>({
    {"netCfgInstanceId", &AdapterDescription::NetCfgInstanceId},
    {"deviceInstanceId", &AdapterDescription::DeviceInstanceId},
    {"driverVersion", &AdapterDescription::DriverVersion},
    {"infSection", &AdapterDescription::InfSection},
    {"service", &AdapterDescription::Service},
    {"hardwareId", &AdapterDescription::HardwareId},
    {"friendlyName", &AdapterDescription::FriendlyName},
    {"description", &AdapterDescription::Description},
    {"className", &AdapterDescription::ClassName},
    {"classGuid", &AdapterDescription::ClassGuid},
    {"driverKey", &AdapterDescription::DriverKey},
    {"assignDriverKey", &AdapterDescription::AssignDriverKey},
    {"hasDriverKey", &AdapterDescription::HasDriverKey},
    {"hasLinkage", &AdapterDescription::HasLinkage},
    {"hasNdi", &AdapterDescription::HasNdi},
    {"present", &AdapterDescription::Present},
    {"hidden", &AdapterDescription::Hidden},
    {"readable", &AdapterDescription::Readable},
    {"problem", &AdapterDescription::Problem},
    {"stateChangeError", &AdapterDescription::StateChangeError},
    {"values", &AdapterDescription::Values},
});

// The published numbers of value types, repeated because Machine.h has no Windows names.
constexpr std::uint32_t TextType = 1;
constexpr std::uint32_t ExpandTextType = 2;
constexpr std::uint32_t BinaryType = 3;
constexpr std::uint32_t NumberType = 4;
constexpr std::uint32_t TextListType = 7;

RegistryValue ReadTextList(const JsonNode& list)
{
    RegistryValue value{TextListType, {}};
    for (const JsonNode& element : list.Elements())
    {
        const std::string text = element.Text();
        value.Data.insert(value.Data.end(), text.begin(), text.end());
        value.Data.push_back(0);
    }
    value.Data.push_back(0); // the list ends with an empty text
    return value;
}

// One overload for each type of a field in AdapterFields.
void Read(const JsonNode& node, bool& out)
{
    out = node.Flag();
}

void Read(const JsonNode& node, std::uint32_t& out)
{
    out = node.Number();
}

void Read(const JsonNode& node, std::optional<std::string>& out)
{
    out = node.Text();
}

void Read(const JsonNode& node, std::optional<std::u16string>& out)
{
    out = ToUtf16(node.Text());
}

void Read(const JsonNode& node, ValueTable& out)
{
    node.ForMembers(
        [&](const std::string& name, const JsonNode& value) { out.insert_or_assign(name, ReadValue(value)); });
}

json Written(bool value)
{
    return value;
}

json Written(std::uint32_t value)
{
    return value;
}

json Written(const std::optional<std::string>& text)
{
    return *text;
}

json Written(const std::optional<std::u16string>& text)
{
    return ToUtf8(*text);
}

json Written(const ValueTable& values)
{
    json object = json::object();
    for (const auto& [name, value] : values)
        object[name] = ValueToJson(value);
    return object;
}

/// Returns whether JSON can hold the text.
bool IsUtf8(const std::string& text)
try
{
    return !json(text).dump().empty();
}
catch (const json::type_error&)
{
    return false;
}

/// Returns the text before the NUL at the end, unless there is no such NUL or the text has another one.
std::optional<std::string> PlainText(const std::vector<std::uint8_t>& data)
{
    if (data.empty() || std::ranges::find(data, 0) != std::prev(data.end()))
        return std::nullopt;
    const std::string text(data.begin(), std::prev(data.end()));
    return IsUtf8(text) ? std::optional(text) : std::nullopt;
}

/// Returns the texts of a list that ends with an empty text.
std::optional<json> PlainList(const std::vector<std::uint8_t>& data)
{
    json list = json::array();
    for (auto begin = data.begin(); begin != data.end();)
    {
        const auto end = std::find(begin, data.end(), 0);
        if (end == data.end())
            return std::nullopt;
        const std::string text(begin, end);
        begin = std::next(end);
        if (text.empty())
            return begin == data.end() ? std::optional(list) : std::nullopt;
        if (!IsUtf8(text))
            return std::nullopt;
        list.push_back(text);
    }
    return std::nullopt;
}

} // namespace

RegistryValue ReadValue(const JsonNode& node)
{
    node.AllowMembers({"type", "value"});
    const JsonNode typeNode = node.Member("type");
    const JsonNode value = node.Member("value");
    if (typeNode.IsNumber())
        return {typeNode.Number(), value.Hexadecimal()};
    const std::string type = typeNode.Text();
    if (type == "dword")
        return RegistryValue::Number(value.Number());
    if (type == "sz")
        return RegistryValue::Text(value.Text());
    if (type == "expand_sz")
        return {ExpandTextType, RegistryValue::Text(value.Text()).Data};
    if (type == "multi_sz")
        return ReadTextList(value);
    if (type == "binary")
        return RegistryValue::Binary(value.Hexadecimal());
    typeNode.Fail(R"(expected "dword", "sz", "expand_sz", "multi_sz", "binary" or a number)");
}

void ReadValues(const JsonNode& node, ValueMap& values)
{
    node.ForMembers(
        [&](const std::string& name, const JsonNode& value) { values.insert_or_assign(name, ReadValue(value)); });
}

bool ReadAdapterField(const std::string& key, const JsonNode& node, AdapterDescription& adapter)
{
    const auto field = std::ranges::find(AdapterFields, key, [](const auto& entry) { return entry.first; });
    if (field == AdapterFields.end())
        return false;
    std::visit([&](auto member) { Read(node, adapter.*member); }, field->second);
    return true;
}

json ValueToJson(const RegistryValue& value)
{
    const auto written = [](const json& type, const json& content) { return json{{"type", type}, {"value", content}}; };
    if (value.Type == TextType || value.Type == ExpandTextType)
    {
        if (const auto text = PlainText(value.Data))
            return written(value.Type == TextType ? "sz" : "expand_sz", *text);
    }
    else if (value.Type == TextListType)
    {
        if (const auto list = PlainList(value.Data))
            return written("multi_sz", *list);
    }
    else if (value.Type == NumberType && value.Data.size() == sizeof(std::uint32_t))
    {
        std::uint32_t number = 0;
        for (std::size_t i = 0; i < sizeof(number); ++i)
            number |= static_cast<std::uint32_t>(value.Data[i]) << (8 * i);
        return written("dword", number);
    }
    else if (value.Type == BinaryType)
        return written("binary", HexadecimalText(value.Data));
    return written(value.Type, HexadecimalText(value.Data));
}

json ValuesToJson(const ValueMap& values)
{
    json object = json::object();
    for (const auto& [name, value] : values)
        object[name] = ValueToJson(value);
    return object;
}

json AdapterToJson(const AdapterDescription& adapter)
{
    static const AdapterDescription& empty = *new AdapterDescription; // never destroyed: threads outlive main
    json object = json::object();
    for (const auto& [key, field] : AdapterFields)
        std::visit(
            [&, &name = key](auto member) {
                if (adapter.*member != empty.*member)
                    object[std::string(name)] = Written(adapter.*member);
            },
            field);
    return object;
}

std::string HexadecimalText(const std::vector<std::uint8_t>& bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes)
    {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

} // namespace Platform
