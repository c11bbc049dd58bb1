// The machine is Windows itself: there is nothing to select, and no command changes it.
#include "Host.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>

const char Host::Description[] = "Works with the Wi-Fi adapters of this computer through ZVUWPSrvcLib.";

const char Host::Footer[] = "Without a command, list runs. \"zvctl COMMAND --help\" describes a command.\n"
                            "Numbers are decimal or, with 0x, hexadecimal.\n"
                            "Exit codes: 0 success; 1 the operation failed; 2 wrong usage.";

/// In text mode, the C runtime inserts a carriage return before each line end, even in raw data.
void Host::PrepareStreams()
{
    for (std::FILE* const stream : {stdout, stderr})
        _setmode(_fileno(stream), _O_BINARY);
}

std::function<void()> Host::AddOptions(Syntax)
{
    return [] {};
}

std::vector<Command> Host::AddCommands(Syntax)
{
    return {};
}

std::vector<Command> Host::AddSessionCommands(Syntax)
{
    return {};
}

std::vector<AdapterName> Host::KnownAdapters()
{
    return {};
}
