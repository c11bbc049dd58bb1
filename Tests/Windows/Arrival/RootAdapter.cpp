#include "RootAdapter.h"

#include "OSPlatform.h"
#include "RegistryAdapter.h"
#include "ScopedHandle.h"

#include <filesystem>
#include <newdev.h>

namespace
{

constexpr GUID NetClass = {0x4D36E972, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
constexpr char DeviceName[] = "ROOT\\ZVARRIVAL\\0000";
constexpr char HardwareId[] = "root\\zvarrival\0"; // A list of one.

std::filesystem::path FolderOfProgram()
{
    wchar_t name[MAX_PATH];
    GetModuleFileNameW(nullptr, name, MAX_PATH);
    return std::filesystem::path(name).parent_path();
}

SP_DEVINFO_DATA NoDevice()
{
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof device;
    return device;
}

} // namespace

unsigned long InstallRootAdapter()
{
    NameNetworkClass();
    const CDeviceSet set(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    SP_DEVINFO_DATA device = NoDevice();
    if (!SetupDiCreateDeviceInfoA(set.Get(), DeviceName, &NetClass, nullptr, nullptr, 0, &device) ||
        !SetupDiSetDeviceRegistryPropertyA(set.Get(), &device, SPDRP_HARDWAREID,
                                           reinterpret_cast<const BYTE*>(HardwareId), sizeof HardwareId) ||
        !SetupDiCallClassInstaller(DIF_REGISTERDEVICE, set.Get(), &device))
        return GetLastError();
    BOOL restart = FALSE;
    const auto inf = FolderOfProgram() / "ZVArrival.inf";
    return UpdateDriverForPlugAndPlayDevicesW(nullptr, L"root\\zvarrival", inf.c_str(), INSTALLFLAG_FORCE, &restart)
               ? ERROR_SUCCESS
               : GetLastError();
}

unsigned long InstallRootAdapterUntil(const std::function<bool()>& heard)
{
    for (;;)
    {
        if (const unsigned long error = InstallRootAdapter())
            return error;
        if (heard())
            return ERROR_SUCCESS;
        if (const unsigned long error = RemoveRootAdapter())
            return error;
    }
}

unsigned long RemoveRootAdapter()
{
    const CDeviceSet set(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    SP_DEVINFO_DATA device = NoDevice();
    if (!SetupDiOpenDeviceInfoA(set.Get(), DeviceName, nullptr, 0, &device) ||
        !SetupDiCallClassInstaller(DIF_REMOVE, set.Get(), &device))
        return GetLastError();
    return ERROR_SUCCESS;
}
