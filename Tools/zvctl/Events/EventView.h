/// @file
/// Events in words.
#pragma once

#include "EventFeed.h"

#include <array>
#include <string>
#include <string_view>

/// The library's events as users call them.
inline constexpr std::array<std::pair<std::uint32_t, const char*>, 5> EventNames = {{
    {ZV_EVT_DEVICE_STATUS_CHANGED, "status-changed"},
    {ZV_EVT_DEVICE_ARRIVED, "arrived"},
    {ZV_EVT_SYSTEM_SUSPEND, "suspend"},
    {ZV_EVT_SYSTEM_RESUME, "resume"},
    {ZV_EVT_DRIVER_UNINSTALLED, "driver-uninstalled"},
}};

/// @return the code as a number when there is no such event.
std::string EventName(std::uint32_t code);

/// Flags by name, separated by commas.
std::string FlagText(std::uint32_t stateFlags);

/// A line for people: local time, name, changes.
std::string EventText(const AdapterEvent& event, const std::vector<AdapterChange>& changes);

/// The same as a JSON object on one line.
std::string EventJson(const AdapterEvent& event, const std::vector<AdapterChange>& changes);

/// Prints a line and flushes, even to a pipe. @throws std::system_error
void PrintNow(std::string_view line);

/// Prints an event for people, with what changed since the last one that was printed.
void PrintEvent(EventFeed& feed, const AdapterEvent& event);
