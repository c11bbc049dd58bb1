/// @file
/// Time stamps of events and of the trace.
#pragma once

#include <chrono>
#include <string>

/// Returns a UTC time of RFC 3339 with milliseconds: "2026-11-24T10:00:00.123Z". Thread-safe.
std::string UtcText(std::chrono::system_clock::time_point time);
