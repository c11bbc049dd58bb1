#include "Terminal.h"

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

void SetColourMode(ColourMode mode)
{
    Mode = mode;
}

std::string Painted(std::FILE* stream, Colour colour, std::string_view text)
{
    return HasColours(stream) ? fmt::format("\x1b[{}m{}\x1b[0m", CodeOf(colour), text) : std::string(text);
}
