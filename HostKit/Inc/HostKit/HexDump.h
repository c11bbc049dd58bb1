/// @file
/// Bytes as text.
///
/// Any thread may call these functions at any time. The text belongs to the caller.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace HostKit
{

/// Returns each byte as two lower-case hexadecimal digits.
/// @param data the bytes.
/// @param separator stands between two bytes, such as " " or ":".
inline std::string HexText(std::span<const std::uint8_t> data, std::string_view separator = "")
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : data)
        text.append(text.empty() ? "" : separator) += {digits[byte >> 4], digits[byte & 0xF]};
    return text;
}

/// Returns one line for each 16 bytes, each ended by a line feed: the offset as eight hexadecimal digits, the bytes,
/// and between bars the characters. Bytes other than printable ASCII characters are shown as dots. Empty for no data.
///
///     00000000  57 4c 36 30 30 55 00                              |WL600U.|
inline std::string HexDump(std::span<const std::uint8_t> data)
{
    constexpr std::size_t lineSize = 16;
    constexpr std::size_t hexWidth = lineSize * 3 - 1;
    std::string dump;
    for (std::size_t at = 0; at < data.size(); at += lineSize)
    {
        const auto line = data.subspan(at, std::min(lineSize, data.size() - at));
        for (int shift = 24; shift >= 0; shift -= 8)
        {
            const auto octet = static_cast<std::uint8_t>(at >> shift);
            dump += HexText({&octet, 1});
        }
        std::string hex = HexText(line, " ");
        hex.resize(hexWidth, ' ');
        std::string characters(line.begin(), line.end());
        std::ranges::replace_if(characters, [](char c) { return c < ' ' || c > '~'; }, '.');
        dump += "  " + hex + "  |" + characters + "|\n";
    }
    return dump;
}

} // namespace HostKit
