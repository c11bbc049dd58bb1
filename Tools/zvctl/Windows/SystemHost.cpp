// The machine is Windows itself: there is nothing to select, and no command changes it.
#include "Host.h"

#include "Errors.h"
#include "SystemAdapters.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

namespace
{

bool IsAdministrator()
{
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token))
        return false;
    TOKEN_ELEVATION elevation = {};
    DWORD size = sizeof elevation;
    const bool known = GetTokenInformation(token, TokenElevation, &elevation, size, &size) != 0;
    CloseHandle(token);
    return known && elevation.TokenIsElevated != 0;
}

/// Other processes that use the library have windows of the same class.
bool HasEventWindow()
{
    for (HWND window = nullptr; (window = FindWindowExW(nullptr, window, L"ZVUWPSrvcLib", nullptr)) != nullptr;)
    {
        DWORD process = 0;
        GetWindowThreadProcessId(window, &process);
        if (process == GetCurrentProcessId())
            return true;
    }
    return false;
}

} // namespace

const char Host::Description[] = "Works with the Wi-Fi adapters of this computer through ZVUWPSrvcLib.";

const char Host::Footer[] = "Without a command, list runs. \"zvctl COMMAND --help\" describes a command.\n"
                            "Numbers are decimal or, with 0x, hexadecimal.";

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

std::vector<Command> Host::AddProgramCommands(Syntax)
{
    return {};
}

void Host::RunProtocol(const std::string&, bool)
{
    throw UsageError("--json: only simulated machines have a control protocol");
}

std::vector<Command> Host::AddSessionCommands(Syntax)
{
    return {};
}

std::vector<AdapterFacts> Host::Facts()
{
    return SystemAdapterFacts();
}

Host::Surroundings Host::Inspect()
{
    return {.Source = "Windows", .IsAdministrator = IsAdministrator(), .HasEventWindow = HasEventWindow()};
}

std::vector<AdapterName> Host::KnownAdapters()
{
    return {};
}
