// The machine file: JSON in, adapters and registry values out, or a mistake with its place.
#include "Machine.h"
#include "MachineImpl.h"
#include "Text.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>
#include <utility>
#include <variant>

namespace Platform
{

namespace
{

using nlohmann::json;

using Field =
    std::variant<std::optional<std::string> AdapterDescription::*, std::optional<std::u16string> AdapterDescription::*,
                 bool AdapterDescription::*, std::uint32_t AdapterDescription::*,
                 std::map<std::string, RegistryValue> AdapterDescription::*>;

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
    {"values", &AdapterDescription::Values},
});

/// One place of the file. What is wrong with it is thrown with the way to it.
class Node
{
public:
    Node(const json& value, std::string origin, std::string place)
        : Value(value), Origin(std::move(origin)), Place(std::move(place))
    {
    }

    [[noreturn]] void Fail(const std::string& mistake) const
    {
        throw MachineFileError(Origin + ": " + (Place.empty() ? "" : Place + ": ") + mistake);
    }

    /// Calls `visit(name, node)` for each member.
    template <class Visit>
    void ForMembers(Visit visit) const
    {
        Require(Value.is_object(), "expected an object");
        for (const auto& [name, member] : Value.items())
        {
            visit(name, Node(member, Origin, Place.empty() ? name : Place + '.' + name));
        }
    }

    template <class Visit>
    void ForElements(Visit visit) const
    {
        Require(Value.is_array(), "expected an array");
        for (std::size_t i = 0; i < Value.size(); ++i)
        {
            visit(Node(Value[i], Origin, Place + '[' + std::to_string(i) + ']'));
        }
    }

    Node Member(const char* name) const
    {
        const auto found = Value.find(name);
        Require(found != Value.end(), std::string("has no \"") + name + '"');
        return Node(*found, Origin, Place + '.' + name);
    }

    void Read(bool& out) const
    {
        Require(Value.is_boolean(), "expected true or false");
        out = Value.get<bool>();
    }

    void Read(std::uint32_t& out) const
    {
        Require(Value.is_number(), "expected a number");
        const bool fits =
            Value.is_number_unsigned() && Value.get<std::uint64_t>() <= std::numeric_limits<std::uint32_t>::max();
        Require(fits, "expected a whole number from 0 to 4294967295");
        out = Value.get<std::uint32_t>();
    }

    void Read(std::optional<std::string>& out) const { out = Text(); }
    void Read(std::optional<std::u16string>& out) const { out = ToUtf16(Text()); }
    void Read(std::map<std::string, RegistryValue>& out) const
    {
        ForMembers([&](const std::string& name, const Node& value) { out.insert_or_assign(name, value.TypedValue()); });
    }

    /// A registry value: {"type": ..., "value": ...}.
    RegistryValue TypedValue() const;
    std::string Text() const
    {
        Require(Value.is_string(), "expected a text");
        return Value.get<std::string>();
    }

private:
    void Require(bool good, const std::string& mistake) const
    {
        if (!good)
        {
            Fail(mistake);
        }
    }

    std::vector<std::uint8_t> Bytes() const;
    std::vector<std::uint8_t> TextList() const;

    const json& Value;
    std::string Origin;
    std::string Place;
};

RegistryValue Node::TypedValue() const
{
    ForMembers([](const std::string& name, const Node& member) {
        if (name != "type" && name != "value")
        {
            member.Fail("unknown key");
        }
    });
    const Node typeNode = Member("type");
    const std::string type = typeNode.Text();
    const Node value = Member("value");
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
    {
        return {7, value.TextList()};
    }
    if (type == "binary")
    {
        return RegistryValue::Binary(value.Bytes());
    }
    typeNode.Fail("expected \"dword\", \"sz\", \"expand_sz\", \"multi_sz\" or \"binary\"");
}

std::vector<std::uint8_t> Node::Bytes() const
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

std::vector<std::uint8_t> Node::TextList() const
{
    std::vector<std::uint8_t> bytes;
    ForElements([&](const Node& element) {
        const std::string text = element.Text();
        bytes.insert(bytes.end(), text.begin(), text.end());
        bytes.push_back(0);
    });
    bytes.push_back(0);
    return bytes;
}

AdapterDescription ReadAdapter(const Node& node)
{
    AdapterDescription adapter;
    node.ForMembers([&](const std::string& name, const Node& value) {
        const auto field = std::ranges::find(AdapterFields, name, [](const auto& entry) { return entry.first; });
        if (field == AdapterFields.end())
        {
            value.Fail("unknown key");
        }
        std::visit([&](auto member) { value.Read(adapter.*member); }, field->second);
    });
    return adapter;
}

struct Contents
{
    std::vector<AdapterDescription> Adapters;
    std::map<std::string, std::map<std::string, RegistryValue>> Keys;
};

Contents ReadContents(const Node& root)
{
    Contents contents;
    root.ForMembers([&](const std::string& name, const Node& section) {
        if (name == "adapters")
        {
            section.ForElements([&](const Node& adapter) { contents.Adapters.push_back(ReadAdapter(adapter)); });
        }
        else if (name == "registry")
        {
            section.ForMembers([&](const std::string& path, const Node& values) { values.Read(contents.Keys[path]); });
        }
        else
        {
            section.Fail("unknown key");
        }
    });
    return contents;
}

json Parse(std::string_view text, std::string_view origin)
{
    try
    {
        return json::parse(text);
    }
    catch (const json::parse_error& error)
    {
        // Without the parser's own number in brackets; line and column follow it.
        const std::string_view message = error.what();
        throw MachineFileError(std::string(origin) + ": " + std::string(message.substr(message.find("] ") + 2)));
    }
}

} // namespace

void Machine::Load(std::string_view text, std::string_view origin)
{
    const json document = Parse(text, origin);
    // All is read before anything changes: a mistake leaves the machine as it was.
    const Contents contents = ReadContents(Node(document, std::string(origin), ""));
    const std::lock_guard lock(Self->Lock);
    for (const auto& [path, values] : contents.Keys)
    {
        const RegistryKeyPtr key = Self->Registry->FindOrCreate(path);
        for (const auto& [name, value] : values)
        {
            key->Values.insert_or_assign(name, value);
        }
    }
    for (const AdapterDescription& adapter : contents.Adapters)
    {
        Self->AdapterNodes.Add(adapter);
    }
}

void Machine::LoadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    // A folder opens well and fails only when it is read.
    if (!file || (file.peek(), file.bad()))
    {
        throw MachineFileError(path + ": cannot be read: " + std::strerror(errno));
    }
    text << file.rdbuf();
    Load(text.str(), path);
}

} // namespace Platform
