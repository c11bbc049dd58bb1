/// @file
/// Converts events to text and JSON.
#pragma once

#include "EventFeed.h"

#include <array>
#include <string>
#include <string_view>

/// Names of the library's events.
inline constexpr std::array<std::pair<std::uint32_t, const char*>, 5> EventNames = {{
    {ZV_EVT_DEVICE_STATUS_CHANGED, "status-changed"},
    {ZV_EVT_DEVICE_ARRIVED, "arrived"},
    {ZV_EVT_SYSTEM_SUSPEND, "suspend"},
    {ZV_EVT_SYSTEM_RESUME, "resume"},
    {ZV_EVT_DRIVER_UNINSTALLED, "driver-uninstalled"},
}};

/// Returns the name of an event, or its number if it has no name.
std::string EventName(std::uint32_t code);

/// Returns a line with time, name and changes.
std::string EventText(const AdapterEvent& event, const std::vector<AdapterChange>& changes);

/// Returns the same as a JSON object on one line.
std::string EventJson(const AdapterEvent& event, const std::vector<AdapterChange>& changes);

/// Prints a line and flushes, even to a pipe. @throws std::system_error
void PrintNow(std::string_view line);

/// Prints an event with the changes since the previous one.
void PrintEvent(EventFeed& feed, const AdapterEvent& event, bool json);
