#include "Failure.h"

#include "OSPlatform.h"

#include <cstdio>
#include <string_view>

namespace
{

struct Remedy
{
    std::string_view Operation; ///< Empty: every call.
    unsigned long Error;
    const char* Text;
};

constexpr unsigned long InvalidImageHash = 577; // Not named in mingw-w64.
constexpr auto NoSignature = static_cast<unsigned long>(TRUST_E_NOSIGNATURE);
constexpr auto UntrustedRoot = static_cast<unsigned long>(CERT_E_UNTRUSTEDROOT);

constexpr char RunInstall[] = "run 'zvdriver install' first";
constexpr char Sign[] = "sign the driver and switch test signing on, see README.md";

/// The first row that fits applies.
constexpr Remedy Remedies[] = {
    {"", ERROR_ACCESS_DENIED, "run it from an administrator's prompt"},
    {"", ERROR_SERVICE_DOES_NOT_EXIST, RunInstall},
    {"", ERROR_SERVICE_MARKED_FOR_DELETE, "close the programs that have the service open, or restart Windows"},
    {"StartService", ERROR_FILE_NOT_FOUND, "run 'zvdriver install FILE' with the driver's file"},
    {"StartService", ERROR_PATH_NOT_FOUND, "run 'zvdriver install FILE' with the driver's file"},
    {"StartService", InvalidImageHash, Sign},
    {"StartService", ERROR_DRIVER_BLOCKED, Sign},
    {"QueryServiceStatus", ERROR_TIMEOUT, "close the programs that have the driver's devices open"},
    {"GetFileAttributes", ERROR_FILE_NOT_FOUND, "name the driver's file: zvdriver install FILE"},
    {"GetFileAttributes", ERROR_PATH_NOT_FOUND, "name the driver's file: zvdriver install FILE"},
    {"CreateFile", ERROR_FILE_NOT_FOUND, "run 'zvdriver start' first"},
    {"DeviceIoControl", ERROR_ALREADY_EXISTS, "another program has plugged in this identity"},
    {"DeviceIoControl", ERROR_INVALID_PARAMETER, "use at most 44 printable ASCII characters and no backslash"},
    {"UpdateDriverForPlugAndPlayDevices", ERROR_NO_CATALOG_FOR_OEM_INF, Sign},
    {"UpdateDriverForPlugAndPlayDevices", NoSignature, Sign},
    {"UpdateDriverForPlugAndPlayDevices", UntrustedRoot, Sign},
    {"UpdateDriverForPlugAndPlayDevices", ERROR_FILE_NOT_FOUND, "keep ZVArrival.inf and ZVArrivalDriver.sys here"},
    {"SetupDiCreateDeviceInfo", ERROR_DEVINST_ALREADY_EXISTS, "run 'zvdriver remove-adapter' first"},
    {"SetupDiOpenDeviceInfo", ERROR_NO_SUCH_DEVINST, "run 'zvdriver add-adapter' first"},
};

/// Returns the operating system's text without its final full stop; empty if there is none.
std::string WindowsText(unsigned long error)
{
    char text[256];
    DWORD length =
        FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
                       nullptr, error, 0, text, sizeof text, nullptr);
    while (length > 0 && std::string_view(" .\r\n").find(text[length - 1]) != std::string_view::npos)
        --length;
    return {text, length};
}

} // namespace

void Require(bool succeeded, const char* operation)
{
    if (!succeeded)
        throw Failure{operation, GetLastError()};
}

std::string Describe(const Failure& failure)
{
    char number[32];
    std::snprintf(number, sizeof number, failure.Error > 0xFFFF ? "error 0x%lx" : "error %lu", failure.Error);
    std::string line = std::string(failure.Operation) + ": " + number;
    if (const std::string text = WindowsText(failure.Error); !text.empty())
        line += " (" + text + ")";
    for (const Remedy& remedy : Remedies)
        if (remedy.Error == failure.Error && (remedy.Operation.empty() || remedy.Operation == failure.Operation))
            return line + "; " + remedy.Text;
    return line;
}
