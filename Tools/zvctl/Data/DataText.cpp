#include "DataText.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fmt/core.h>
#include <fstream>
#include <stdexcept>

namespace
{

constexpr std::string_view TextPrefix = "text:";

void RequireSize(std::uintmax_t size)
{
    if (size > MaxDataSize)
        throw std::invalid_argument(fmt::format("more than {} bytes", MaxDataSize));
}

Bytes ReadFile(const std::string& path)
{
    Bytes data;
    std::ifstream file(path, std::ios::binary);
    // Piecewise, because the size of a device file is unknown.
    for (char piece[4096]; file && data.size() <= MaxDataSize;)
    {
        file.read(piece, sizeof piece);
        data.insert(data.end(), piece, piece + file.gcount());
    }
    if (!file.eof() && data.size() <= MaxDataSize)
        throw std::invalid_argument(fmt::format("{}: cannot be read: {}", path, std::strerror(errno)));
    RequireSize(data.size());
    return data;
}

/// Accepts blanks, colons and dashes between pairs, as dumps and hardware addresses contain them.
Bytes ParseHex(std::string_view text)
{
    Bytes data;
    for (std::size_t at = 0; at < text.size(); at += 2)
    {
        at = std::min(text.find_first_not_of(" :-", at), text.size());
        const std::string_view pair = text.substr(at, 2);
        if (pair.empty())
            break;
        std::uint8_t byte = 0;
        // from_chars accepts a single digit too, so the number of characters that it used is checked.
        const char* const end = std::from_chars(pair.data(), pair.data() + pair.size(), byte, 16).ptr;
        if (end - pair.data() != 2)
            throw std::invalid_argument(fmt::format("\"{}\" is not pairs of hexadecimal digits", text));
        data.push_back(byte);
    }
    RequireSize(data.size());
    return data;
}

} // namespace

std::uint32_t ParseNumber(std::string_view text, std::uint32_t limit)
{
    // A leading zero does not mean octal.
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const std::string_view digits = hexadecimal ? text.substr(2) : text;
    std::uint32_t number = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number, hexadecimal ? 16 : 10);
    if (error != std::errc{} || end != digits.data() + digits.size() || number > limit)
        throw std::invalid_argument(fmt::format("\"{}\" is not a number up to {}", text, limit));
    return number;
}

std::chrono::milliseconds ParseSeconds(std::string_view text)
{
    constexpr double most = 30 * 24 * 3600;
    double seconds = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed);
    // The comparison is false for "nan".
    if (error != std::errc{} || end != text.data() + text.size() || !(seconds >= 0 && seconds <= most))
        throw std::invalid_argument(fmt::format("\"{}\" is not a number of seconds", text));
    return std::chrono::milliseconds(std::llround(seconds * 1000));
}

Bytes ParseData(const std::string& text)
{
    if (text.starts_with('@'))
        return ReadFile(text.substr(1));
    if (text.starts_with(TextPrefix))
        return {text.begin() + TextPrefix.size(), text.end()};
    return ParseHex(text);
}
