#include "RegistryAdapter.h"

#include "ScopedHandle.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace
{

const std::wstring Control = LR"(SYSTEM\CurrentControlSet\)";
const std::wstring NetClass = L"{4D36E972-E325-11CE-BFC1-08002BE10318}";
const std::wstring Devices = Control + LR"(Enum\PCI\VEN_1234&DEV_5678)";

std::wstring Wide(const std::string& text)
{
    return {text.begin(), text.end()};
}

std::wstring Digits(int number)
{
    const std::wstring digits = std::to_wstring(number);
    return std::wstring(4 - digits.size(), L'0') + digits;
}

std::wstring DeviceKey(int number)
{
    return Devices + L"\\" + Digits(number);
}

std::wstring DriverKey(int number)
{
    return Control + LR"(Control\Class\)" + NetClass + L"\\" + Digits(number);
}

/// The key is made when it is missing.
void SetText(const std::wstring& key, const wchar_t* name, const std::optional<std::wstring>& text, DWORD type = REG_SZ)
{
    if (!text)
        return;
    const auto size = static_cast<DWORD>((text->size() + 1) * sizeof(wchar_t));
    const LSTATUS status = RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, type, text->c_str(), size);
    if (status == ERROR_SUCCESS)
        return;
    std::fprintf(stderr, "%ls: error %ld\n", key.c_str(), status);
    std::exit(9);
}

} // namespace

void NameNetworkClass()
{
    SetText(Control + LR"(Control\Class\)" + NetClass, L"Class", L"Net");
}

void AddRegistryDevice(int number, const AdapterTexts& texts)
{
    NameNetworkClass();
    SetText(DriverKey(number) + LR"(\NDI)", L"Service", Wide(texts.Service.value_or("")));
    const std::wstring device = DeviceKey(number);
    SetText(device, L"HardwareID", texts.HardwareId + L'\0', REG_MULTI_SZ);
    SetText(device, L"FriendlyName", texts.FriendlyName);
    SetText(device, L"DeviceDesc", texts.Description);
    SetText(device, L"Driver", NetClass + L"\\" + Digits(number));
    SetText(device, L"Class", L"Net");
    SetText(device, L"ClassGUID", NetClass);
}

void AddRegistryAdapter(int number, const std::string& identity, const std::string& service)
{
    const std::wstring driver = DriverKey(number);
    SetText(driver, L"DriverVersion", L"1.2.3.4");
    SetText(driver, L"InfSection", L"Zorvane.ndi");
    SetText(driver, L"NetCfgInstanceId", Wide(identity));
    SetText(driver, L"DeviceInstanceID", LR"(PCI\VEN_1234&DEV_5678\)" + Digits(number));
    SetText(driver + LR"(\Linkage)", L"RootDevice", Wide(identity));
    AddRegistryDevice(
        number,
        {.Service = service, .HardwareId = LR"(PCI\VEN_1234&DEV_5678)", .FriendlyName = L"Adapter " + Digits(number)});
}

void RemoveRegistryDevice(int number)
{
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, DeviceKey(number).c_str());
}

void RemoveRegistryAdapter(int number)
{
    RemoveRegistryDevice(number);
    RemoveDriverEntry(number);
}

void RemoveRegistryAdapters()
{
    CRegistryKey devices;
    if (RegOpenKeyW(HKEY_LOCAL_MACHINE, Devices.c_str(), devices.Receive()) != ERROR_SUCCESS)
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
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, DriverKey(number).c_str());
}
