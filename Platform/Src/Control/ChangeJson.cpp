#include "ChangeJson.h"

#include "AdapterJson.h"

#include <nlohmann/json.hpp>

#include <array>
#include <ctime>
#include <tuple>
#include <utility>

namespace Platform
{

namespace
{

using nlohmann::json;

// One overload for each type of a field.
json Write(bool value)
{
    return value;
}

json Write(std::uint32_t value)
{
    return value;
}

json Write(std::uint64_t value)
{
    return value;
}

json Write(const std::string& text)
{
    return text;
}

json Write(const AdapterDescription& adapter)
{
    json object = AdapterToJson(adapter);
    if (!adapter.ControlDeviceName.empty())
        object["controlDeviceName"] = adapter.ControlDeviceName;
    return object;
}

json Write(const RegistryValue& value)
{
    return ValueToJson(value);
}

json Write(const std::vector<std::uint8_t>& bytes)
{
    return HexadecimalText(bytes);
}

void ReadField(const JsonNode& node, bool& out)
{
    out = node.Flag();
}

void ReadField(const JsonNode& node, std::uint32_t& out)
{
    out = node.Number();
}

void ReadField(const JsonNode& node, std::uint64_t& out)
{
    out = node.LongNumber();
}

void ReadField(const JsonNode& node, std::string& out)
{
    out = node.Text();
}

void ReadField(const JsonNode& node, AdapterDescription& out)
{
    node.ForMembers([&](const std::string& name, const JsonNode& value) {
        if (name == "controlDeviceName")
            out.ControlDeviceName = value.Text();
        else if (!ReadAdapterField(name, value, out))
            value.Fail("unknown key");
    });
}

void ReadField(const JsonNode& node, RegistryValue& out)
{
    out = ReadValue(node);
}

void ReadField(const JsonNode& node, std::vector<std::uint8_t>& out)
{
    out = node.Hexadecimal();
}

/// A text that is itself JSON, such as the settings of a driver; empty for null.
struct JsonText
{
    std::string& Text;
};

json Write(const JsonText& embedded)
{
    return embedded.Text.empty() ? json() : json::parse(embedded.Text, nullptr, false);
}

void ReadField(const JsonNode& node, JsonText out)
{
    out.Text = node.IsNull() ? "" : node.Json();
}

/// Calls `visit(name, field)` for each field of a record. One overload for each kind of change.
template <class Visit>
void Fields(Changes::AdapterAdded& change, Visit visit)
{
    visit("id", change.Id);
    visit("adapter", change.Adapter);
}

template <class Visit>
void Fields(Changes::AdapterChanged& change, Visit visit)
{
    visit("id", change.Id);
    visit("adapter", change.Adapter);
    visit("messages", change.SendsMessages);
}

template <class Visit>
void Fields(Changes::AdapterRemoved& change, Visit visit)
{
    visit("id", change.Id);
}

template <class Visit>
void Fields(Changes::DriverUninstalled& change, Visit visit)
{
    visit("id", change.Id);
}

template <class Visit>
void Fields(Changes::InterfaceMessage& change, Visit visit)
{
    visit("id", change.Id);
    visit("event", change.Event);
}

template <class Visit>
void Fields(Changes::KeyCreated& change, Visit visit)
{
    visit("path", change.Path);
}

template <class Visit>
void Fields(Changes::KeyDeleted& change, Visit visit)
{
    visit("path", change.Path);
}

template <class Visit>
void Fields(Changes::ValueSet& change, Visit visit)
{
    visit("path", change.Path);
    visit("name", change.Name);
    visit("value", change.Value);
}

template <class Visit>
void Fields(Changes::ValueDeleted& change, Visit visit)
{
    visit("path", change.Path);
    visit("name", change.Name);
}

template <class Visit>
void Fields(Changes::Broadcast& change, Visit visit)
{
    visit("message", change.Message);
    visit("wParam", change.WParam);
}

template <class Visit>
void Fields(Changes::RightsChanged& change, Visit visit)
{
    visit("administrator", change.Administrator);
}

template <class Visit>
void Fields(Changes::EventChanged& change, Visit visit)
{
    visit("name", change.Name);
    visit("signalled", change.Signalled);
}

template <class Visit>
void Fields(Changes::DeviceAttached& change, Visit visit)
{
    visit("name", change.Name);
    visit("module", change.Module);
    visit("settings", JsonText{change.Settings});
    visit("state", JsonText{change.State});
}

template <class Visit>
void Fields(Changes::DriverConfigured& change, Visit visit)
{
    visit("device", change.Device);
    visit("settings", JsonText{change.Settings});
}

template <class Visit>
void Fields(Changes::CallsFail& change, Visit visit)
{
    visit("function", change.Function);
    visit("nth", change.Nth);
    visit("error", change.Error);
    visit("count", change.Count);
}

template <class Visit>
void Fields(Changes::FaultsCleared& /*change*/, Visit /*visit*/)
{
}

template <class Visit>
void Fields(Changes::CallsHeld& change, Visit visit)
{
    visit("function", change.Function);
    visit("held", change.Held);
}

template <class Visit>
void Fields(Changes::RequestCompleted& change, Visit visit)
{
    visit("device", change.Device);
    visit("code", change.Code);
    visit("input", change.Input);
    visit("output", change.Output);
    visit("outputRoom", change.OutputRoom);
    visit("error", change.Error);
    visit("durationUs", change.DurationUs);
    visit("processId", change.ProcessId);
    visit("threadId", change.ThreadId);
}

/// The names of the kinds, in the order of MachineChange.
constexpr std::array<const char*, std::variant_size_v<MachineChange>> KindNames{
    "adapterAdded",   "adapterChanged",   "adapterRemoved", "driverUninstalled", "interfaceMessage", "keyCreated",
    "keyDeleted",     "valueSet",         "valueDeleted",   "broadcast",         "rightsChanged",    "eventChanged",
    "deviceAttached", "driverConfigured", "callsFail",      "faultsCleared",     "callsHeld",        "request"};

/// Returns an empty change of the kind with this index.
template <std::size_t... Index>
MachineChange EmptyChange(std::size_t kind, std::index_sequence<Index...> /*all*/)
{
    MachineChange change;
    ((Index == kind ? static_cast<void>(change.emplace<Index>()) : static_cast<void>(0)), ...);
    return change;
}

} // namespace

std::string TimeText(std::chrono::system_clock::time_point time)
{
    using namespace std::chrono;
    const auto micros = duration_cast<microseconds>(time.time_since_epoch()).count();
    const std::time_t seconds = micros / 1'000'000;
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%06dZ", parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                  static_cast<int>(micros % 1'000'000));
    return text.data();
}

std::chrono::system_clock::time_point ReadTime(const JsonNode& node)
{
    const std::string text = node.Text();
    std::tm parts{};
    unsigned long micros = 0;
    char end = 0;
    // NOLINTNEXTLINE(cert-err34-c): the count of the conversions and the range checks below find every error
    const int count = std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d.%6lu%c", &parts.tm_year, &parts.tm_mon,
                                  &parts.tm_mday, &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &micros, &end);
    node.Require(count == 8 && end == 'Z' && parts.tm_year >= 1970 && parts.tm_mon >= 1 && parts.tm_mon <= 12,
                 "expected a time such as 2026-11-24T20:35:38.123456Z");
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    return std::chrono::system_clock::from_time_t(timegm(&parts)) + std::chrono::microseconds(micros);
}

json ToJson(const MachineChange& change)
{
    MachineChange copy = change; // the visitors also read, so they need fields that they may change
    json data = json::object();
    std::visit(
        [&](auto& kind) { Fields(kind, [&](const char* name, const auto& field) { data[name] = Write(field); }); },
        copy);
    return {{"kind", KindNames[change.index()]}, {"data", std::move(data)}};
}

json ToJson(const LoggedChange& change)
{
    json object = ToJson(change.What);
    object["sequence"] = change.Sequence;
    object["changed"] = TimeText(change.Time);
    return object;
}

MachineChange ReadChange(const JsonNode& node)
{
    const JsonNode kindNode = node.Member("kind");
    const std::string kind = kindNode.Text();
    const auto* const found = std::ranges::find_if(KindNames, [&](const char* name) { return kind == name; });
    kindNode.Require(found != KindNames.end(), "unknown kind of change");
    MachineChange change = EmptyChange(static_cast<std::size_t>(found - KindNames.begin()),
                                       std::make_index_sequence<std::variant_size_v<MachineChange>>());
    const JsonNode data = node.Member("data");
    std::visit(
        [&](auto& empty) {
            Fields(empty, [&](const char* name, auto&& field) { ReadField(data.Member(name), field); });
        },
        change);
    return change;
}

LoggedChange ReadLoggedChange(const JsonNode& node)
{
    return {.Sequence = node.Member("sequence").LongNumber(),
            .Time = ReadTime(node.Member("changed")),
            .What = ReadChange(node)};
}

json ToJson(const MachineState& state)
{
    json adapters = json::array();
    for (const auto& [id, node] : state.Adapters)
        adapters.push_back({{"id", id}, {"uninstalled", node.Uninstalled}, {"adapter", Write(node.Description)}});
    json registry = json::object();
    for (const auto& [path, values] : state.Registry)
        registry[path] = ValuesToJson(values);
    json devices = json::array();
    for (const Changes::DeviceAttached& device : state.Devices)
        devices.push_back(ToJson(MachineChange(device))["data"]);
    return {{"sequence", state.Sequence},
            {"administrator", state.Administrator},
            {"recordsRequests", state.RecordsRequests},
            {"lastAdapterId", state.LastId},
            {"adapters", adapters},
            {"registry", registry},
            {"devices", devices}};
}

MachineState ReadState(const JsonNode& node)
{
    MachineState state{.Sequence = node.Member("sequence").LongNumber(),
                       .Administrator = node.Member("administrator").Flag(),
                       .RecordsRequests = node.Member("recordsRequests").Flag(),
                       .LastId = node.Member("lastAdapterId").Number()};
    for (const JsonNode& entry : node.Member("adapters").Elements())
    {
        AdapterNode& adapter = state.Adapters[entry.Member("id").Number()];
        adapter.Uninstalled = entry.Member("uninstalled").Flag();
        ReadField(entry.Member("adapter"), adapter.Description);
    }
    node.Member("registry").ForMembers([&](const std::string& path, const JsonNode& values) {
        ReadValues(values, state.Registry[path]);
    });
    for (const JsonNode& entry : node.Member("devices").Elements())
        Fields(state.Devices.emplace_back(),
               [&](const char* name, auto&& field) { ReadField(entry.Member(name), field); });
    return state;
}

} // namespace Platform
