#include "Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

bool IsTerminal(std::FILE* stream)
{
    return isatty(fileno(stream)) != 0;
}

std::optional<std::size_t> TerminalWidth()
{
    winsize size = {};
    // A terminal without a known size reports 0.
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return std::nullopt;
    return size.ws_col;
}

bool EnableEscapes(std::FILE* /*stream*/)
{
    return true;
}
