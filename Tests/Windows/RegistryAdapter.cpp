#include "RegistryAdapter.h"

#include "OSPlatform.h"
#include "ScopedHandle.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace
{

const std::string Control = R"(SYSTEM\CurrentControlSet\)";
const std::string NetClass = "{4D36E972-E325-11CE-BFC1-08002BE10318}";

std::string Digits(int number)
{
    char text[8];
    std::snprintf(text, sizeof text, "%04d", number);
    return text;
}

const std::string Devices = Control + R"(Enum\PCI\VEN_1234&DEV_5678)";

std::string DeviceKey(int number)
{
    return Devices + "\\" + Digits(number);
}

std::string DriverKey(int number)
{
    return Control + R"(Control\Class\)" + NetClass + "\\" + Digits(number);
}

void Check(LSTATUS status, const std::string& what)
{
    if (status == ERROR_SUCCESS)
        return;
    std::fprintf(stderr, "%s: error %ld\n", what.c_str(), status);
    std::exit(9);
}

/// The key is made when it is missing.
void SetText(const std::string& key, const char* name, std::string text, DWORD type = REG_SZ)
{
    if (type == REG_MULTI_SZ)
        text.push_back('\0');
    Check(
        RegSetKeyValueA(HKEY_LOCAL_MACHINE, key.c_str(), name, type, text.c_str(), static_cast<DWORD>(text.size() + 1)),
        key);
}

} // namespace

void NameNetworkClass()
{
    SetText(Control + R"(Control\Class\)" + NetClass, "Class", "Net");
}

void AddRegistryAdapter(int number, const std::string& identity, const std::string& service)
{
    NameNetworkClass();
    const std::string driver = DriverKey(number);
    SetText(driver, "DriverVersion", "1.2.3.4");
    SetText(driver, "InfSection", "Zorvane.ndi");
    SetText(driver, "NetCfgInstanceId", identity);
    SetText(driver, "DeviceInstanceID", R"(PCI\VEN_1234&DEV_5678\)" + Digits(number));
    SetText(driver + R"(\Linkage)", "RootDevice", identity);
    SetText(driver + R"(\NDI)", "Service", service);

    const std::string device = DeviceKey(number);
    SetText(device, "HardwareID", R"(PCI\VEN_1234&DEV_5678)", REG_MULTI_SZ);
    SetText(device, "FriendlyName", "Adapter " + Digits(number));
    SetText(device, "Driver", NetClass + "\\" + Digits(number));
    SetText(device, "Class", "Net");
    SetText(device, "ClassGUID", NetClass);
}

void RemoveRegistryAdapter(int number)
{
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, DeviceKey(number).c_str());
    RemoveDriverEntry(number);
}

void RemoveRegistryAdapters()
{
    CRegistryKey devices;
    if (RegOpenKeyA(HKEY_LOCAL_MACHINE, Devices.c_str(), devices.Receive()) != ERROR_SUCCESS)
        return;
    // Finds all first: a removal changes the numbers of those that follow.
    std::vector<int> numbers;
    char name[8];
    for (DWORD i = 0; RegEnumKeyA(devices.Get(), i, name, sizeof name) == ERROR_SUCCESS; ++i)
        numbers.push_back(std::atoi(name));
    for (const int number : numbers)
        RemoveRegistryAdapter(number);
}

void RemoveDriverEntry(int number)
{
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, DriverKey(number).c_str());
}
