#include "DriverSettings.h"

#include "JsonNode.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <string>
#include <utility>

namespace
{

using Platform::JsonNode;

constexpr std::size_t PatternPeriod = 251; // coprime to the chunk size, so a lost chunk shows
constexpr std::uint32_t LargestPattern = 1U << 20;

/// Returns a member's name as a number.
std::uint32_t Key(const std::string& name, const JsonNode& member)
{
    const bool hexadecimal = name.starts_with("0x");
    const std::string_view digits = std::string_view(name).substr(hexadecimal ? 2 : 0);
    std::uint32_t number = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number, hexadecimal ? 16 : 10);
    const bool good = error == std::errc() && end == digits.data() + digits.size();
    member.Require(good, "expected a number such as 16 or 0x10 as the name");
    return number;
}

// One overload for each type of a setting.
void Read(const JsonNode& node, bool& out)
{
    out = node.Flag();
}

void Read(const JsonNode& node, std::uint32_t& out)
{
    out = node.Number();
}

void Read(const JsonNode& node, ResponseOrder& out)
{
    out = static_cast<ResponseOrder>(node.Choice({"before", "during", "after"}));
}

void Read(const JsonNode& node, LastChunk& out)
{
    out = static_cast<LastChunk>(node.Choice({"short", "missing", "empty"}));
}

void Read(const JsonNode& node, std::array<std::uint32_t, 4>& out)
{
    const std::vector<JsonNode> elements = node.Elements();
    node.Require(elements.size() == out.size(), "expected four numbers");
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = elements[i].Number();
}

void Read(const JsonNode& node, DriverSettings::Bytes& out)
{
    if (!node.IsObject())
    {
        out = node.Hexadecimal();
        return;
    }
    node.AllowMembers({"size", "text"});
    node.Require(node.HasMember("size") != node.HasMember("text"), R"(expected "size" or "text")");
    if (node.HasMember("size"))
    {
        out = CountingBytes(node.Member("size").Number(LargestPattern));
        return;
    }
    const std::string text = node.Member("text").Text();
    out.assign(text.begin(), text.end());
}

void Read(const JsonNode& node, std::optional<DriverSettings::Bytes>& out)
{
    Read(node, out.emplace());
}

void Read(const JsonNode& node, std::map<std::uint32_t, DriverSettings::Bytes>& out)
{
    node.ForMembers([&](const std::string& name, const JsonNode& bytes) { Read(bytes, out[Key(name, bytes)]); });
}

/// A key and the function that reads its value into the record.
template <class Owner>
using Reader = std::pair<std::string_view, void (*)(const JsonNode&, Owner&)>;

/// Selects the overload of Read by the type of the member.
template <auto Member, class Owner>
void ReadMember(const JsonNode& node, Owner& owner)
{
    Read(node, owner.*Member);
}

constexpr auto SettingReaders = std::to_array<Reader<DriverSettings>>({
    {"info", ReadMember<&DriverSettings::Information>},
    {"items", ReadMember<&DriverSettings::Items>},
    {"outputs", ReadMember<&DriverSettings::Outputs>},
    {"responses", ReadMember<&DriverSettings::Responses>},
    {"response", ReadMember<&DriverSettings::Response>},
    {"order", ReadMember<&DriverSettings::Order>},
    {"lastChunk", ReadMember<&DriverSettings::Last>},
    {"eager", ReadMember<&DriverSettings::Eager>},
});

constexpr auto SwitchReaders = std::to_array<Reader<DriverSwitches>>({
    {"refuse", ReadMember<&DriverSwitches::Refuse>},
    {"refuseOpen", ReadMember<&DriverSwitches::RefuseOpen>},
    {"slowMs", ReadMember<&DriverSwitches::SlowMs>},
    {"lateCancelMs", ReadMember<&DriverSwitches::LateCancelMs>},
    {"vanishAfterChunks", ReadMember<&DriverSwitches::VanishAfterChunks>},
    {"pend", ReadMember<&DriverSwitches::Pend>},
    {"hang", ReadMember<&DriverSwitches::Hang>},
    {"silent", ReadMember<&DriverSwitches::Silent>},
    {"garbage", ReadMember<&DriverSwitches::Garbage>},
    {"holdCancelled", ReadMember<&DriverSwitches::HoldCancelled>},
});

template <auto Member>
std::string WriteMember(const DriverSwitches& switches)
{
    return fmt::format("{}", switches.*Member);
}

/// The same names as in SwitchReaders.
constexpr auto SwitchWriters = std::to_array<std::pair<std::string_view, std::string (*)(const DriverSwitches&)>>({
    {"refuse", WriteMember<&DriverSwitches::Refuse>},
    {"refuseOpen", WriteMember<&DriverSwitches::RefuseOpen>},
    {"slowMs", WriteMember<&DriverSwitches::SlowMs>},
    {"lateCancelMs", WriteMember<&DriverSwitches::LateCancelMs>},
    {"vanishAfterChunks", WriteMember<&DriverSwitches::VanishAfterChunks>},
    {"pend", WriteMember<&DriverSwitches::Pend>},
    {"hang", WriteMember<&DriverSwitches::Hang>},
    {"silent", WriteMember<&DriverSwitches::Silent>},
    {"garbage", WriteMember<&DriverSwitches::Garbage>},
    {"holdCancelled", WriteMember<&DriverSwitches::HoldCancelled>},
});

/// Returns false if no reader has this name.
template <class Readers, class Owner>
bool ReadNamed(const Readers& readers, const std::string& name, const JsonNode& value, Owner& owner)
{
    const auto reader = std::ranges::find(readers, name, [](const auto& entry) { return entry.first; });
    if (reader == readers.end())
        return false;
    reader->second(value, owner);
    return true;
}

/// Visits the members of the text. Errors of the parser become errors of the settings, with their position.
void ReadDocument(std::string_view text, const JsonNode::Visitor& visit)
try
{
    const Platform::JsonDocument document(text, "settings");
    document.Root().ForMembers(visit);
}
catch (const Platform::JsonError& error)
{
    throw DriverSettingsError(error.what());
}

} // namespace

DriverSettings ReadDriverSettings(std::string_view text)
{
    DriverSettings settings;
    ReadDocument(text, [&](const std::string& name, const JsonNode& value) {
        // A switch may be set from the start, by the same name as at run time.
        if (!ReadNamed(SettingReaders, name, value, settings) &&
            !ReadNamed(SwitchReaders, name, value, settings.Switches))
            value.Fail("unknown key");
    });
    return settings;
}

DriverChange ReadDriverChange(std::string_view text, const DriverSwitches& switches)
{
    DriverChange change{.Switches = switches};
    ReadDocument(text, [&](const std::string& name, const JsonNode& value) {
        // Other settings are fixed once the driver runs: its threads read them without a lock.
        if (name == "items")
            Read(value, change.Items);
        else if (!ReadNamed(SwitchReaders, name, value, change.Switches))
            value.Fail("neither a switch of a running driver nor \"items\"");
    });
    return change;
}

std::string WriteItem(std::uint32_t id, std::span<const std::uint8_t> data)
{
    return fmt::format(R"({{"items": {{"{}": "{:02x}"}}}})", id, fmt::join(data, ""));
}

std::string WriteDriverChange(const DriverChange& change)
{
    std::string text = "{";
    for (const auto& [name, write] : SwitchWriters)
        text += fmt::format(R"("{}": {}, )", name, write(change.Switches));
    text += R"("items": {)";
    for (const auto& [id, data] : change.Items)
        text += fmt::format(R"({}"{}": "{:02x}")", text.ends_with('{') ? "" : ", ", id, fmt::join(data, ""));
    return text + "}}";
}

DriverSettings::Bytes CountingBytes(std::size_t size)
{
    DriverSettings::Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i % PatternPeriod);
    return bytes;
}
