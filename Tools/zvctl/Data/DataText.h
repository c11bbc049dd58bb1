/// @file
/// Parses and prints numbers and bytes.
#pragma once

#include <HostKit/HexDump.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// Limit of the data that the tool sends or requests. The library accepts 4 GiB, but a mistyped length must not
/// exhaust the memory of the computer.
inline constexpr std::uint32_t MaxDataSize = 64U << 20;

/// Parses a decimal number, or hexadecimal with 0x. @throws std::invalid_argument that describes the error.
std::uint32_t ParseNumber(std::string_view text, std::uint32_t limit = std::numeric_limits<std::uint32_t>::max());

/// Parses a time in seconds, with or without a fraction, of at most 30 days. @throws std::invalid_argument
std::chrono::milliseconds ParseSeconds(std::string_view text);

/// Parses bytes: pairs of hexadecimal digits, optionally separated by blanks, ':' and '-'; the text after
/// "text:"; or the contents of FILE for "@FILE".
/// @throws std::invalid_argument that describes the error.
Bytes ParseData(const std::string& text);

using HostKit::HexDump;
using HostKit::HexText;

/// Returns the texts of a range, separated by another text.
template <class Texts>
std::string Join(const Texts& texts, std::string_view separator)
{
    std::string joined;
    std::string_view before;
    for (const auto& text : texts)
    {
        joined.append(before).append(text);
        before = separator;
    }
    return joined;
}
