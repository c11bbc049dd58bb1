#include "RootAdapter.h"

#include "OSPlatform.h"
#include "RegistryAdapter.h"
#include "ScopedHandle.h"
#include "TestWindows.h"

#include <chrono>
#include <filesystem>
#include <future>
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
    for (int tries = 0; tries < 5; ++tries)
    {
        if (const unsigned long error = InstallRootAdapter())
            return error;
        if (heard())
            return ERROR_SUCCESS;
        if (const unsigned long error = RemoveRootAdapter())
            return error;
    }
    return ERROR_TIMEOUT;
}

unsigned long AwaitDeviceListener()
{
    static std::promise<void> arrived;
    const WNDCLASSEXW record = TestClass();
    RegisterClassExW(&record);
    // Both exist until the process ends, and so does the listener.
    static const auto& windows = *new WindowThread([](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (static bool isFirst = true; message == WM_DEVICECHANGE && wParam == DBT_DEVICEARRIVAL && isFirst)
        {
            isFirst = false;
            arrived.set_value();
        }
        return DefWindowProcW(window, message, wParam, lParam);
    });
    if (Register(windows.First) == nullptr)
        return GetLastError();
    const auto heard = [waited = arrived.get_future().share()] {
        return waited.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    };
    const unsigned long error = InstallRootAdapterUntil(heard);
    return error != ERROR_SUCCESS ? error : RemoveRootAdapter();
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
