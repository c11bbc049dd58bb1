// The machine is the system itself: there is nothing to choose, and nothing happens to it by command.
#include "Host.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>

const char Host::Description[] = "Works with the Wi-Fi adapters of this system through ZVUWPSrvcLib.";

const char Host::Footer[] = "Without a command, list runs. \"zvctl COMMAND --help\" describes a command.\n"
                            "Numbers are decimal or, with 0x, hexadecimal.\n"
                            "Exit codes: 0 done; 1 the operation failed; 2 wrong usage.";

/// The runtime would otherwise insert a carriage return before each line end, even into raw data.
void Host::PrepareStreams()
{
    for (std::FILE* const stream : {stdout, stderr})
        _setmode(_fileno(stream), _O_BINARY);
}

std::function<void()> Host::AddOptions(CLI::App&)
{
    return [] {};
}

std::vector<Command> Host::AddCommands(CLI::App&)
{
    return {};
}

std::vector<Command> Host::AddSessionCommands(CLI::App&)
{
    return {};
}

std::vector<AdapterName> Host::KnownAdapters()
{
    return {};
}
