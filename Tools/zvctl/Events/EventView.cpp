#include "EventView.h"

#include "AdapterView.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>
#include <system_error>

namespace
{

using nlohmann::ordered_json;

std::int64_t Milliseconds(std::chrono::system_clock::time_point time)
{
    return std::chrono::floor<std::chrono::milliseconds>(time).time_since_epoch().count() % 1000;
}

std::tm LocalTime(std::chrono::system_clock::time_point time)
{
    return fmt::localtime(std::chrono::system_clock::to_time_t(time));
}

std::string Difference(const std::string& before, const std::string& after)
{
    return before == after ? after : fmt::format("{} -> {}", before, after);
}

std::string VersionOf(const _ZV_SRVC_DEVICE_INFO& adapter)
{
    return Printable(FieldText(adapter.DriverVersion));
}

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

ordered_json StateJson(const std::optional<_ZV_SRVC_DEVICE_INFO>& adapter)
{
    if (!adapter)
        return nullptr;
    return {{"stateFlags", adapter->StateFlags},
            {"flags", FlagNames(adapter->StateFlags)},
            {"driverVersion", FieldText(adapter->DriverVersion)}};
}

ordered_json ChangeJson(const AdapterChange& change)
{
    const _ZV_SRVC_DEVICE_INFO& known = change.After ? *change.After : *change.Before;
    return {{"netCfgInstanceId", FieldText(known.NetCfgInstanceId)},
            {"deviceName", FieldText(known.DeviceName)},
            {"before", StateJson(change.Before)},
            {"after", StateJson(change.After)}};
}

} // namespace

std::string EventName(std::uint32_t code)
{
    const auto row = std::ranges::find(EventNames, code, [](const auto& entry) { return entry.first; });
    return row == EventNames.end() ? fmt::format("event 0x{:x}", code) : row->second;
}

std::string FlagText(std::uint32_t stateFlags)
{
    return fmt::format("{}", fmt::join(FlagNames(stateFlags), ","));
}

std::string EventText(const AdapterEvent& event, const std::vector<AdapterChange>& changes)
{
    std::vector<std::string> texts;
    std::ranges::transform(changes, std::back_inserter(texts), ChangeText);
    return fmt::format("{:%H:%M:%S}.{:03} {:<18} {}", LocalTime(event.Time), Milliseconds(event.Time),
                       EventName(event.Code),
                       texts.empty() ? "nothing new in the list" : fmt::format("{}", fmt::join(texts, "; ")));
}

std::string EventJson(const AdapterEvent& event, const std::vector<AdapterChange>& changes)
{
    const std::tm time = LocalTime(event.Time);
    auto list = ordered_json::array();
    std::ranges::transform(changes, std::back_inserter(list), ChangeJson);
    const ordered_json object = {
        {"time", fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}{:%z}", time, Milliseconds(event.Time), time)},
        {"event", EventName(event.Code)},
        {"code", event.Code},
        {"changes", std::move(list)}};
    return object.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

void PrintNow(std::string_view line)
{
    fmt::print("{}\n", line);
    if (std::fflush(stdout) != 0)
        throw std::system_error(errno, std::generic_category(), "standard output");
}

void PrintEvent(EventFeed& feed, const AdapterEvent& event)
{
    PrintNow(EventText(event, feed.TakeChanges()));
}
