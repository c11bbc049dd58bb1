// Installs, starts and removes the kernel-mode test driver and its test adapter, and plugs control devices in.
#include "AdapterSetup.h"
#include "DriverService.h"
#include "Failure.h"
#include "KernelDriverCodes.h"
#include "OSPlatform.h"
#include "ProgramFolder.h"
#include "ScopedHandle.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

namespace
{

constexpr char Usage[] = R"(usage: zvdriver COMMAND

  install [FILE]      register the driver, or change its file
                      (default: ZVKernelDriver.sys in the folder of this program)
  start               load the driver
  stop                unload the driver
  uninstall           stop the driver and delete its registration
  status              print "running", "stopped", "changing" or "not installed"
  plug IDENTITY [SECONDS]
                      plug in the control device of the adapter with this NetCfgInstanceId, such as
                      "{arrival}", for so many seconds or until Ctrl-C
  add-adapter         install the test adapter "{arrival}" from ZVArrival.inf in the folder of this program
  remove-adapter      remove the test adapter
  --help              this text

Commands other than status and --help require administrator rights. start, stop and uninstall succeed
if there is nothing to do.

Exit codes: 0 success (status: the driver is running); 1 Windows refused the operation (status: the driver
is not running); 2 wrong usage
)";

using Arguments = char* const*;

int Status(Arguments)
{
    constexpr const char* Names[] = {"not installed", "stopped", "running", "changing"};
    const DriverState state = QueryDriver();
    std::puts(Names[static_cast<int>(state)]);
    return state == DriverState::Running ? 0 : 1;
}

int Install(Arguments arguments)
{
    InstallDriver(arguments[0] != nullptr ? arguments[0] : ProgramFolder() + ZVK_SERVICE_NAME ".sys");
    return 0;
}

/// Created before the handler is installed and never closed, because the handler may run until the process exits.
HANDLE Interrupted;

/// Runs on a thread that Windows creates. TRUE marks the event as handled, so that Ctrl-C does not end the process.
BOOL WINAPI OnConsoleEvent(DWORD)
{
    return SetEvent(Interrupted);
}

/// @return milliseconds, or INFINITE without a text. @throws std::exception if it is not a number.
DWORD WaitTime(const char* text)
{
    constexpr unsigned long Most = 86400;
    std::size_t used = 0;
    const unsigned long seconds = text != nullptr ? std::stoul(text, &used) : 0;
    if (text != nullptr && (text[used] != '\0' || seconds > Most))
        throw std::invalid_argument(text);
    return text != nullptr ? static_cast<DWORD>(seconds * 1000) : INFINITE;
}

int Plug(Arguments arguments)
{
    const DWORD time = WaitTime(arguments[1]);
    Interrupted = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    Require(Interrupted != nullptr, "CreateEvent");
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
    const CFileHandle steering(CreateFileA(ZVK_STEERING_PATH, GENERIC_READ | GENERIC_WRITE,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    Require(static_cast<bool>(steering), "CreateFile");
    std::string name = std::string("Zorvane_Wifi_Device") + arguments[0];
    DWORD returned = 0;
    Require(DeviceIoControl(steering.Get(), ZVK_PLUG, name.data(), static_cast<DWORD>(name.size() + 1), nullptr, 0,
                            &returned, nullptr),
            "DeviceIoControl");
    std::printf("plugged in %s\n", arguments[0]);
    std::fflush(stdout);
    // Closing the steering handle unplugs the device, even if this process is terminated.
    WaitForSingleObject(Interrupted, time);
    return 0;
}

template <void (*Operation)()>
int Perform(Arguments)
{
    Operation();
    return 0;
}

struct Command
{
    std::string_view Name;
    int Least; ///< Arguments.
    int Most;
    int (*Run)(Arguments);
};

constexpr Command Commands[] = {
    {.Name = "install", .Least = 0, .Most = 1, .Run = Install},
    {.Name = "start", .Least = 0, .Most = 0, .Run = Perform<StartDriver>},
    {.Name = "stop", .Least = 0, .Most = 0, .Run = Perform<StopDriver>},
    {.Name = "uninstall", .Least = 0, .Most = 0, .Run = Perform<UninstallDriver>},
    {.Name = "status", .Least = 0, .Most = 0, .Run = Status},
    {.Name = "plug", .Least = 1, .Most = 2, .Run = Plug},
    {.Name = "add-adapter", .Least = 0, .Most = 0, .Run = Perform<AddAdapter>},
    {.Name = "remove-adapter", .Least = 0, .Most = 0, .Run = Perform<RemoveAdapter>},
};

int Run(const Command& command, Arguments arguments)
{
    try
    {
        return command.Run(arguments);
    }
    catch (const Failure& failure)
    {
        std::fprintf(stderr, "zvdriver: %s: %s\n", command.Name.data(), Describe(failure).c_str());
        return 1;
    }
    // std::stoul and WaitTime report a wrong number this way.
    catch (const std::logic_error&)
    {
        std::fprintf(stderr, "zvdriver: %s: \"%s\" is not a number of seconds up to 86400; run 'zvdriver --help'\n",
                     command.Name.data(), arguments[1]);
        return 2;
    }
}

} // namespace

int main(int count, char** arguments)
{
    const std::string_view name = count > 1 ? arguments[1] : "";
    if (count == 2 && (name == "--help" || name == "-h"))
        return std::fputs(Usage, stdout) < 0 ? 1 : 0;
    for (const Command& command : Commands)
        if (command.Name == name && count - 2 >= command.Least && count - 2 <= command.Most)
            return Run(command, arguments + 2);
    std::fprintf(stderr, "zvdriver: no such command or wrong number of arguments: \"%.*s\"; run 'zvdriver --help'\n",
                 static_cast<int>(name.size()), name.data());
    return 2;
}
