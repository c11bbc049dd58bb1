/// @file
/// What the standard streams are connected to: terminals have colours and a width.
#pragma once

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

/// @name Implemented for each platform
/// @{
bool IsTerminal(std::FILE* stream);
/// Returns the number of columns of the terminal at stdout; nothing if stdout is no terminal.
std::optional<std::size_t> TerminalWidth();
/// Prepares a terminal for escape sequences. @return whether it accepts them.
bool EnableEscapes(std::FILE* stream);
/// @}

/// Returns the number of characters of a UTF-8 text.
std::size_t TextWidth(std::string_view text);

/// Cuts a UTF-8 text to a number of characters, the last of which then is an ellipsis.
std::string CutText(std::string text, std::size_t most);

enum class Colour
{
    Bold,
    Red,
    Green,
    Yellow,
};

enum class ColourMode
{
    Auto, ///< On a terminal, unless the environment variable NO_COLOR is set or TERM is "dumb".
    Always,
    Never,
};

/// Called by the main thread before it prints anything in colour.
void SetColourMode(ColourMode mode);

/// Returns the text with the escape sequences of a colour if the stream has colours, or unchanged.
std::string Painted(std::FILE* stream, Colour colour, std::string_view text);
