#include "EventView.h"

#include "AdapterView.h"
#include "DataText.h"
#include "Errors.h"
#include "TimeText.h"

#include <algorithm>
#include <fmt/core.h>
#include <iterator>

namespace
{

/// Returns "before -> after", or one of them if they are equal.
std::string Difference(const std::string& before, const std::string& after)
{
    return before == after ? after : fmt::format("{} -> {}", before, after);
}

std::string VersionOf(const _ZV_SRVC_DEVICE_INFO& adapter)
{
    return Printable(FieldText(adapter.DriverVersion));
}

/// At least one of `Before` and `After` is set.
std::string ChangeText(const AdapterChange& change)
{
    const _ZV_SRVC_DEVICE_INFO& known = change.After ? *change.After : *change.Before;
    const std::string name = Printable(FieldText(known.DeviceName));
    if (!change.Before)
        return fmt::format("{}: new, {}, driver {}", name, FlagText(known.StateFlags), VersionOf(known));
    if (!change.After)
        return fmt::format("{}: no longer listed", name);
    std::string text = name + ": " + Difference(FlagText(change.Before->StateFlags), FlagText(known.StateFlags));
    if (VersionOf(*change.Before) != VersionOf(known))
        text += ", driver " + Difference(VersionOf(*change.Before), VersionOf(known));
    return text;
}

/// Returns null for a list that does not contain the adapter.
Json StateJson(const std::optional<_ZV_SRVC_DEVICE_INFO>& adapter)
{
    if (!adapter)
        return {};
    return Json::Object{{"stateFlags", adapter->StateFlags},
                        {"flags", FlagNames(adapter->StateFlags)},
                        {"driverVersion", FieldText(adapter->DriverVersion)}};
}

Json ChangeJson(const AdapterChange& change)
{
    const _ZV_SRVC_DEVICE_INFO& known = change.After ? *change.After : *change.Before;
    return Json::Object{{"netCfgInstanceId", FieldText(known.NetCfgInstanceId)},
                        {"deviceName", FieldText(known.DeviceName)},
                        {"before", StateJson(change.Before)},
                        {"after", StateJson(change.After)}};
}

} // namespace

std::string EventName(std::uint32_t code)
{
    // A newer library may send codes that this program has no name for.
    const auto row = std::ranges::find(EventNames, code, [](const auto& entry) { return entry.first; });
    return row == EventNames.end() ? fmt::format("event 0x{:x}", code) : row->second;
}

std::string EventText(const AdapterEvent& event, const std::vector<AdapterChange>& changes)
{
    std::vector<std::string> texts;
    std::ranges::transform(changes, std::back_inserter(texts), ChangeText);
    return fmt::format("{} {:<18} {}", UtcText(event.Time), EventName(event.Code),
                       texts.empty() ? "nothing new in the list" : Join(texts, "; "));
}

std::string EventJson(const AdapterEvent& event, const std::vector<AdapterChange>& changes)
{
    Json::Array list;
    std::ranges::transform(changes, std::back_inserter(list), ChangeJson);
    const Json object = Json::Object{{"time", UtcText(event.Time)},
                                     {"event", EventName(event.Code)},
                                     {"code", event.Code},
                                     {"changes", std::move(list)}};
    return object.Line();
}

void PrintNow(std::string_view line)
{
    fmt::print("{}\n", line);
    FlushOutput();
}

void PrintEvent(EventFeed& feed, const AdapterEvent& event, bool json)
{
    // Printed and flushed per line, because a caller may read the lines through a pipe as they arrive.
    PrintNow(json ? EventJson(event, feed.TakeChanges()) : EventText(event, feed.TakeChanges()));
}
