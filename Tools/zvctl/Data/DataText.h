/// @file
/// Numbers and bytes, as they are typed and as they are shown.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// The most that the tool sends or asks for. The library would take four gigabytes; a mistyped
/// length should not cost the machine its memory.
inline constexpr std::uint32_t MaxDataSize = 64U << 20;

/// Parses a decimal number, or hexadecimal with 0x. @throws std::invalid_argument that describes the error.
std::uint32_t ParseNumber(std::string_view text, std::uint32_t limit = std::numeric_limits<std::uint32_t>::max());

/// Parses bytes: pairs of hexadecimal digits, optionally separated by blanks, ':' and '-'; the text after
/// "text:"; or the contents of FILE for "@FILE".
/// @throws std::invalid_argument that describes the error.
Bytes ParseData(const std::string& text);

/// Pairs of hexadecimal digits with a text between them.
std::string HexText(std::span<const std::uint8_t> data, std::string_view separator);

/// Sixteen bytes a line: offset, hexadecimal, characters.
std::string HexDump(std::span<const std::uint8_t> data);
