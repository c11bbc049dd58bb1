#include "EventView.h"

#include "AdapterView.h"
#include "DataText.h"
#include "Errors.h"

#include <algorithm>
#include <ctime>
#include <fmt/core.h>
#include <iterator>

namespace
{

/// Formats the local time as strftime. "%f" becomes milliseconds.
std::string LocalTime(std::chrono::system_clock::time_point time, std::string format)
{
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(time).time_since_epoch().count() % 1000;
    // strftime has no conversion for fractions of a second.
    format.replace(format.find("%f"), 2, fmt::format("{:03}", milliseconds));
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    const std::tm* const local = std::localtime(&seconds); // the main thread alone prints
    char text[64];
    return {text, std::strftime(text, sizeof text, format.c_str(), local)};
}

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
    return fmt::format("{} {:<18} {}", LocalTime(event.Time, "%H:%M:%S.%f"), EventName(event.Code),
                       texts.empty() ? "nothing new in the list" : Join(texts, "; "));
}

std::string EventJson(const AdapterEvent& event, const std::vector<AdapterChange>& changes)
{
    Json::Array list;
    std::ranges::transform(changes, std::back_inserter(list), ChangeJson);
    const Json object = Json::Object{{"time", LocalTime(event.Time, "%Y-%m-%dT%H:%M:%S.%f%z")},
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

void PrintEvent(EventFeed& feed, const AdapterEvent& event)
{
    PrintNow(EventText(event, feed.TakeChanges()));
}
