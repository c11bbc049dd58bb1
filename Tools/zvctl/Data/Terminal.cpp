#include "Terminal.h"

#include <algorithm>
#include <cstdlib>
#include <fmt/core.h>

namespace
{

ColourMode Mode = ColourMode::Auto;

bool IsSet(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

bool HasColours(std::FILE* stream)
{
    if (Mode != ColourMode::Auto)
        return Mode == ColourMode::Always;
    const char* const terminal = std::getenv("TERM");
    const bool isDumb = terminal != nullptr && std::string_view(terminal) == "dumb";
    return IsTerminal(stream) && !IsSet("NO_COLOR") && !isDumb && EnableEscapes(stream);
}

int CodeOf(Colour colour)
{
    switch (colour)
    {
    case Colour::Bold:
        return 1;
    case Colour::Red:
        return 31;
    case Colour::Green:
        return 32;
    case Colour::Yellow:
        return 33;
    }
    return 0;
}

} // namespace

/// A continuation byte starts no character.
std::size_t TextWidth(std::string_view text)
{
    return static_cast<std::size_t>(std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string CutText(std::string text, std::size_t most)
{
    if (TextWidth(text) <= most)
        return text;
    // A continuation byte is removed together with the start of its character.
    while (TextWidth(text) >= most)
        text.pop_back();
    return text + "\u2026";
}

void SetColourMode(ColourMode mode)
{
    Mode = mode;
}

std::string Painted(std::FILE* stream, Colour colour, std::string_view text)
{
    return HasColours(stream) ? fmt::format("\x1b[{}m{}\x1b[0m", CodeOf(colour), text) : std::string(text);
}
