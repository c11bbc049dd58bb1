#include "FileNode.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace Platform
{

FileNode FileNode::Member(const char* name) const
{
    const auto found = Value.find(name);
    Require(found != Value.end(), std::string("has no \"") + name + '"');
    return {*found, Origin, Place + '.' + name};
}

void FileNode::AllowMembers(std::initializer_list<std::string_view> names) const
{
    ForMembers([&](const std::string& name, const FileNode& member) {
        member.Require(std::ranges::find(names, name) != names.end(), "unknown key");
    });
}

void FileNode::Read(bool& out) const
{
    Require(Value.is_boolean(), "expected true or false");
    out = Value.get<bool>();
}

void FileNode::Read(std::uint32_t& out) const
{
    Require(Value.is_number(), "expected a number");
    const bool fits =
        Value.is_number_unsigned() && Value.get<std::uint64_t>() <= std::numeric_limits<std::uint32_t>::max();
    Require(fits, "expected a whole number from 0 to 4294967295");
    out = Value.get<std::uint32_t>();
}

void FileNode::Read(std::map<std::string, RegistryValue>& out) const
{
    ForMembers([&](const std::string& name, const FileNode& value) { out.insert_or_assign(name, value.TypedValue()); });
}

std::string FileNode::Text() const
{
    Require(Value.is_string(), "expected a text");
    return Value.get<std::string>();
}

RegistryValue FileNode::TypedValue() const
{
    AllowMembers({"type", "value"});
    const FileNode typeNode = Member("type");
    const std::string type = typeNode.Text();
    const FileNode value = Member("value");
    if (type == "dword")
    {
        std::uint32_t number = 0;
        value.Read(number);
        return RegistryValue::Number(number);
    }
    if (type == "sz" || type == "expand_sz")
    {
        RegistryValue text = RegistryValue::Text(value.Text());
        text.Type = type == "sz" ? 1 : 2;
        return text;
    }
    if (type == "multi_sz")
        return {7, value.TextList()};
    if (type == "binary")
        return RegistryValue::Binary(value.Bytes());
    typeNode.Fail(R"(expected "dword", "sz", "expand_sz", "multi_sz" or "binary")");
}

std::vector<std::uint8_t> FileNode::Bytes() const
{
    const std::string digits = Text();
    std::vector<std::uint8_t> bytes(digits.size() / 2);
    bool good = digits.size() % 2 == 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        const char* pair = digits.data() + 2 * i;
        good = good && std::from_chars(pair, pair + 2, bytes[i], 16).ptr == pair + 2;
    }
    Require(good, "expected pairs of hexadecimal digits");
    return bytes;
}

std::vector<std::uint8_t> FileNode::TextList() const
{
    std::vector<std::uint8_t> bytes;
    ForElements([&](const FileNode& element) {
        const std::string text = element.Text();
        bytes.insert(bytes.end(), text.begin(), text.end());
        bytes.push_back(0);
    });
    bytes.push_back(0);
    return bytes;
}

} // namespace Platform
