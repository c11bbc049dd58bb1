#include "JournalAdapters.h"

#include "DataText.h"

#include <algorithm>
#include <array>
#include <fmt/core.h>

using Platform::JsonNode;

namespace
{

using Fields = std::map<std::string, std::string>;

constexpr std::string_view ClassRoot = R"(SYSTEM\CurrentControlSet\Control\Class\)";

Fields FieldsOf(const JsonNode& adapter)
{
    Fields fields;
    adapter.ForMembers([&](const std::string& key, const JsonNode& value) {
        if (key != "values")
            fields[key] = value.Json();
        else
            value.ForMembers(
                [&](const std::string& name, const JsonNode& content) { fields["value " + name] = content.Json(); });
    });
    return fields;
}

std::string TextOr(const Fields& fields, const std::string& key, const std::string& otherwise)
{
    const auto found = fields.find(key);
    return found == fields.end() ? otherwise : found->second;
}

std::string StateOf(const Fields& fields)
{
    if (TextOr(fields, "present", "true") == "false")
        return "absent";
    const std::string problem = TextOr(fields, "problem", "0");
    return problem == "0" ? "present" : "problem " + problem;
}

/// Returns the value of a field that is left out, given its value at another time.
std::string Default(const std::string& other)
{
    if (other == "true" || other == "false")
        return other == "true" ? "false" : "true";
    const bool isNumber = std::ranges::all_of(other, [](char c) { return c >= '0' && c <= '9'; });
    return isNumber ? "0" : "none";
}

std::string MemberText(const JsonNode& node, const char* name)
{
    return node.HasMember(name) ? node.Member(name).Text() : "";
}

std::string Arrow(const std::string& before, const std::string& after)
{
    return fmt::format("{} -> {}", before, after);
}

/// Names the fields that differ, except those of the state.
void AppendDifferences(std::vector<std::string>& texts, const Fields& before, const Fields& after)
{
    Fields all = before;
    all.insert(after.begin(), after.end());
    for (const auto& [key, value] : all)
    {
        const std::string old = TextOr(before, key, Default(value));
        const std::string now = TextOr(after, key, Default(value));
        if (old != now && key != "present" && key != "problem")
            texts.push_back(fmt::format("{} {}", key, Arrow(old, now)));
    }
}

/// Compares names of the registry and of devices.
bool IsSame(std::string_view one, std::string_view other)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::ranges::equal(one, other, {}, lower, lower);
}

std::vector<std::string> FlagsOf(const JsonNode& record)
{
    std::vector<std::string> flags;
    for (const JsonNode& flag : record.Member("flags").Elements())
        flags.push_back(flag.Text());
    return flags;
}

/// Returns the state of an adapter as the library lists it.
std::string ListedState(const std::vector<std::string>& flags)
{
    for (const char* state : {"problem", "absent"})
        if (std::ranges::find(flags, state) != flags.end())
            return state;
    return "present";
}

} // namespace

JournalAdapters::JournalAdapters(const JsonNode& header)
{
    if (header.HasMember("machine"))
        for (const JsonNode& entry : header.Member("machine").Member("adapters").Elements())
            Describe(At(std::to_string(entry.Member("id").Number())), entry.Member("adapter"));
    if (header.HasMember("listed"))
        for (const JsonNode& entry : header.Member("listed").Elements())
            List(entry, "state");
}

std::size_t JournalAdapters::At(const std::string& key)
{
    const auto found = std::ranges::find(Adapters, key, &KnownAdapter::Key);
    if (found != Adapters.end())
        return static_cast<std::size_t>(found - Adapters.begin());
    Adapters.push_back({.Name = "adapter " + key, .Key = key, .State = "removed"});
    return Adapters.size() - 1;
}

AdapterUpdate JournalAdapters::Describe(std::size_t index, const JsonNode& adapter)
{
    KnownAdapter& known = Adapters[index];
    const Fields fields = FieldsOf(adapter);
    const std::string state = StateOf(fields);
    std::vector<std::string> texts;
    if (state != known.State)
        texts.push_back(Arrow(known.State, state));
    if (known.State != "removed")
        AppendDifferences(texts, known.Fields, fields);
    known.Fields = fields;
    known.State = state;
    // The later ones replace the earlier ones as the display name.
    for (const char* key : {"classGuid", "className", "description", "friendlyName"})
        if (fields.contains(key))
            known.Name = adapter.Member(key).Text();
    known.Device = MemberText(adapter, "controlDeviceName");
    known.DriverKey = MemberText(adapter, "driverKey");
    return {index, Join(texts, ", ")};
}

AdapterUpdate JournalAdapters::List(const JsonNode& change, const char* state)
{
    const std::size_t index = At(change.Member("netCfgInstanceId").Text());
    KnownAdapter& known = Adapters[index];
    known.Name = change.Member("deviceName").Text();
    const auto describe = [&](const char* member) {
        if (!change.HasMember(member) || change.Member(member).IsNull())
            return std::string("not listed");
        const JsonNode record = change.Member(member);
        return fmt::format("{}, driver {}", Join(FlagsOf(record), ","), record.Member("driverVersion").Text());
    };
    const std::string before = describe("before");
    const std::string after = describe(state);
    known.State = after == "not listed" ? "removed" : ListedState(FlagsOf(change.Member(state)));
    return {index, before == after ? after : Arrow(before, after)};
}

std::vector<AdapterUpdate> JournalAdapters::Apply(const JournalLine& line)
{
    const JsonNode data = line.Data();
    std::vector<AdapterUpdate> updates;
    if (line.Kind == "libraryEvent")
        for (const JsonNode& change : data.Member("changes").Elements())
            updates.push_back(List(change, "after"));
    constexpr std::array<std::string_view, 5> kinds = {"adapterAdded", "adapterChanged", "adapterRemoved",
                                                       "driverUninstalled", "interfaceMessage"};
    if (std::ranges::find(kinds, line.Kind) == kinds.end())
        return updates;
    const std::size_t index = At(std::to_string(data.Member("id").Number()));
    if (line.Kind == "adapterRemoved")
        Adapters[index].State = "removed";
    if (data.HasMember("adapter"))
        return {Describe(index, data.Member("adapter"))};
    return {{index, ""}};
}

std::optional<std::size_t> JournalAdapters::OfDevice(std::string_view name) const
{
    const auto found = std::ranges::find_if(
        Adapters, [&](const KnownAdapter& adapter) { return !name.empty() && IsSame(adapter.Device, name); });
    return found == Adapters.end() ? std::nullopt : std::optional<std::size_t>(found - Adapters.begin());
}

std::optional<std::size_t> JournalAdapters::OfRegistryKey(std::string& path) const
{
    for (std::size_t i = 0; i < Adapters.size(); ++i)
    {
        const std::string key = Adapters[i].DriverKey;
        const std::string driver = std::string(ClassRoot) + key;
        const bool isBelow =
            path.size() == driver.size() || (path.size() > driver.size() && path[driver.size()] == '\\');
        if (key.empty() || !isBelow || !IsSame(path.substr(0, driver.size()), driver))
            continue;
        path.erase(0, std::min(path.size(), driver.size() + 1));
        return i;
    }
    return std::nullopt;
}
