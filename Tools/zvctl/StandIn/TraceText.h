/// @file
/// Trace messages as text.
#pragma once

#include <ZVTraceMessages.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Level and flags of a trace session.
struct TraceSettings
{
    std::uint8_t Level;
    std::uint32_t Flags;
};

/// Reads LEVEL[:FLAGS], each decimal or, with 0x, hexadecimal; all components without FLAGS. Every level from 1 to 4
/// is accepted, because it is an upper bound; the library has no message of level 2.
/// @throws std::invalid_argument that describes the error.
TraceSettings ParseTraceSettings(const std::string& text);

/// Inserts the arguments into the text of a trace point. An argument that is missing or has the wrong size
/// becomes "<?>".
std::string TraceMessageText(const ZVTraceMessage& row, const std::vector<std::vector<std::uint8_t>>& arguments);

/// Returns the component name of a trace flag.
std::string_view TraceComponent(std::uint32_t flag);
