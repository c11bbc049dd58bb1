#include "Terminal.h"

#include <io.h>
#include <windows.h>

namespace
{

HANDLE HandleOf(std::FILE* stream)
{
    return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
}

} // namespace

/// Only a console has a mode; the C runtime's _isatty is true for other character devices too.
bool IsTerminal(std::FILE* stream)
{
    DWORD mode = 0;
    return GetConsoleMode(HandleOf(stream), &mode) != 0;
}

std::optional<std::size_t> TerminalWidth()
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (!GetConsoleScreenBufferInfo(HandleOf(stdout), &info))
        return std::nullopt;
    const int columns = info.srWindow.Right - info.srWindow.Left + 1;
    return columns > 0 ? std::optional(static_cast<std::size_t>(columns)) : std::nullopt;
}

bool EnableEscapes(std::FILE* stream)
{
    const HANDLE handle = HandleOf(stream);
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) && SetConsoleMode(handle, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}
