#include "DriverSettings.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <charconv>
#include <limits>
#include <string>
#include <utility>

namespace
{

using nlohmann::json;

constexpr std::size_t PatternPeriod = 251; // coprime to the chunk size, so a lost chunk shows
constexpr std::uint32_t LargestPattern = 1U << 20;

/// A JSON value and its path.
class Place
{
public:
    Place(const json& value, std::string name) : Value(value), Name(std::move(name)) {}

    [[noreturn]] void Fail(std::string_view mistake) const
    {
        throw DriverSettingsError(fmt::format("{}: {}", Name, mistake));
    }

    template <class Visit>
    void ForMembers(Visit visit) const
    {
        if (!Value.is_object())
            Fail("expected an object");
        for (const auto& [name, member] : Value.items())
            visit(name, Place(member, Name + '.' + name));
    }

    void Read(bool& out) const
    {
        if (!Value.is_boolean())
            Fail("expected true or false");
        out = Value.get<bool>();
    }

    void Read(std::uint32_t& out) const { out = Number(std::numeric_limits<std::uint32_t>::max()); }
    void Read(std::array<std::uint32_t, 4>& out) const;
    void Read(DriverSettings::Bytes& out) const;
    void Read(std::optional<DriverSettings::Bytes>& out) const { Read(out.emplace()); }
    void Read(std::map<std::uint32_t, DriverSettings::Bytes>& out) const
    {
        ForMembers([&](const std::string& name, const Place& bytes) { bytes.Read(out[bytes.Key(name)]); });
    }
    void Read(ResponseOrder& out) const { out = static_cast<ResponseOrder>(Choice({"before", "during", "after"})); }
    void Read(LastChunk& out) const { out = static_cast<LastChunk>(Choice({"short", "missing", "empty"})); }

private:
    std::uint32_t Number(std::uint32_t largest) const
    {
        if (!Value.is_number_unsigned() || Value.get<std::uint64_t>() > largest)
            Fail(fmt::format("expected a whole number from 0 to {}", largest));
        return Value.get<std::uint32_t>();
    }

    std::string Text(std::string_view expected) const
    {
        if (!Value.is_string())
            Fail(expected);
        return Value.get<std::string>();
    }

    /// Returns a member's name as a number.
    std::uint32_t Key(std::string_view name) const
    {
        const bool hexadecimal = name.starts_with("0x");
        const std::string_view digits = hexadecimal ? name.substr(2) : name;
        std::uint32_t number = 0;
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), number, hexadecimal ? 16 : 10);
        if (error != std::errc() || end != digits.data() + digits.size())
            Fail("expected a number such as 16 or 0x10 as the name");
        return number;
    }

    /// Returns the index of the text among the permitted ones.
    std::size_t Choice(const std::array<const char*, 3>& texts) const
    {
        const std::string expected = fmt::format(R"(expected "{}", "{}" or "{}")", texts[0], texts[1], texts[2]);
        const std::string text = Text(expected);
        for (std::size_t i = 0; i < texts.size(); ++i)
            if (text == texts[i])
                return i;
        Fail(expected);
    }

    DriverSettings::Bytes Hexadecimal() const;

    const json& Value;
    std::string Name;
};

DriverSettings::Bytes Place::Hexadecimal() const
{
    constexpr const char* expected = "expected pairs of hexadecimal digits";
    const std::string digits = Text(expected);
    DriverSettings::Bytes bytes(digits.size() / 2);
    bool good = digits.size() % 2 == 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        const char* const pair = digits.data() + 2 * i;
        good = good && std::from_chars(pair, pair + 2, bytes[i], 16).ptr == pair + 2;
    }
    if (!good)
        Fail(expected);
    return bytes;
}

void Place::Read(DriverSettings::Bytes& out) const
{
    if (!Value.is_object())
    {
        out = Hexadecimal();
        return;
    }
    if (Value.size() != 1)
        Fail(R"(expected "size" or "text")");
    ForMembers([&](const std::string& name, const Place& member) {
        if (name == "size")
            out = CountingBytes(member.Number(LargestPattern));
        else if (name == "text")
        {
            const std::string text = member.Text("expected a text");
            out.assign(text.begin(), text.end());
        }
        else
            member.Fail("unknown key");
    });
}

void Place::Read(std::array<std::uint32_t, 4>& out) const
{
    if (!Value.is_array() || Value.size() != out.size())
        Fail("expected four numbers");
    for (std::size_t i = 0; i < out.size(); ++i)
        Place(Value[i], fmt::format("{}[{}]", Name, i)).Read(out[i]);
}

template <class Owner>
using Reader = std::pair<std::string_view, void (*)(const Place&, Owner&)>;

template <auto Member, class Owner>
void ReadMember(const Place& place, Owner& owner)
{
    place.Read(owner.*Member);
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

/// Returns false if no reader has this name.
template <class Readers, class Owner>
bool ReadNamed(const Readers& readers, const std::string& name, const Place& value, Owner& owner)
{
    const auto reader = std::ranges::find(readers, name, [](const auto& entry) { return entry.first; });
    if (reader == readers.end())
        return false;
    reader->second(value, owner);
    return true;
}

template <class Visit>
void ReadDocument(std::string_view text, Visit visit)
{
    const json document = json::parse(text, nullptr, false);
    const Place root(document, "settings");
    if (document.is_discarded())
        root.Fail("not a JSON text");
    root.ForMembers(visit);
}

} // namespace

DriverSettings ReadDriverSettings(std::string_view text)
{
    DriverSettings settings;
    ReadDocument(text, [&](const std::string& name, const Place& value) {
        if (!ReadNamed(SettingReaders, name, value, settings) &&
            !ReadNamed(SwitchReaders, name, value, settings.Switches))
            value.Fail("unknown key");
    });
    return settings;
}

DriverSwitches ReadDriverSwitches(std::string_view text, DriverSwitches switches)
{
    ReadDocument(text, [&](const std::string& name, const Place& value) {
        if (!ReadNamed(SwitchReaders, name, value, switches))
            value.Fail("not a switch of a running driver");
    });
    return switches;
}

DriverSettings::Bytes CountingBytes(std::size_t size)
{
    DriverSettings::Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i % PatternPeriod);
    return bytes;
}
