#include "AdapterSetup.h"

#include "Failure.h"
#include "OSPlatform.h"
#include "ProgramFolder.h"
#include "ScopedHandle.h"

#include <newdev.h>

namespace
{

constexpr GUID NetClass = {0x4D36E972, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
constexpr char NetClassKey[] = R"(SYSTEM\CurrentControlSet\Control\Class\{4D36E972-E325-11CE-BFC1-08002BE10318})";
constexpr char DeviceName[] = R"(ROOT\ZVARRIVAL\0000)";
constexpr char HardwareId[] = "root\\zvarrival\0"; // A list of one.

/// Returns a record that the setup functions accept as an output.
SP_DEVINFO_DATA NoDevice()
{
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof device;
    return device;
}

/// Wine leaves the class without a name until it has a network adapter, and finds no device by that name.
void NameNetworkClass()
{
    if (RegGetValueA(HKEY_LOCAL_MACHINE, NetClassKey, "Class", RRF_RT_REG_SZ, nullptr, nullptr, nullptr) ==
        ERROR_FILE_NOT_FOUND)
        RegSetKeyValueA(HKEY_LOCAL_MACHINE, NetClassKey, "Class", REG_SZ, "Net", sizeof "Net");
}

} // namespace

void AddAdapter()
{
    NameNetworkClass();
    const CDeviceSet set(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    Require(static_cast<bool>(set), "SetupDiCreateDeviceInfoList");
    SP_DEVINFO_DATA device = NoDevice();
    Require(SetupDiCreateDeviceInfoA(set.Get(), DeviceName, &NetClass, nullptr, nullptr, 0, &device),
            "SetupDiCreateDeviceInfo");
    Require(SetupDiSetDeviceRegistryPropertyA(set.Get(), &device, SPDRP_HARDWAREID,
                                              reinterpret_cast<const BYTE*>(HardwareId), sizeof HardwareId),
            "SetupDiSetDeviceRegistryProperty");
    // Registered before the driver is installed, because the installation searches for devices by their hardware ID.
    Require(SetupDiCallClassInstaller(DIF_REGISTERDEVICE, set.Get(), &device), "SetupDiCallClassInstaller");
    const std::string inf = ProgramFolder() + "ZVArrival.inf";
    BOOL restart = FALSE;
    if (UpdateDriverForPlugAndPlayDevicesA(nullptr, "root\\zvarrival", inf.c_str(), INSTALLFLAG_FORCE, &restart))
        return;
    // Read before the removal, which overwrites the last error. A device without a driver must not remain.
    const Failure failure{"UpdateDriverForPlugAndPlayDevices", GetLastError()};
    SetupDiCallClassInstaller(DIF_REMOVE, set.Get(), &device);
    throw failure;
}

void RemoveAdapter()
{
    const CDeviceSet set(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    Require(static_cast<bool>(set), "SetupDiCreateDeviceInfoList");
    SP_DEVINFO_DATA device = NoDevice();
    Require(SetupDiOpenDeviceInfoA(set.Get(), DeviceName, nullptr, 0, &device), "SetupDiOpenDeviceInfo");
    Require(SetupDiCallClassInstaller(DIF_REMOVE, set.Get(), &device), "SetupDiCallClassInstaller");
}
