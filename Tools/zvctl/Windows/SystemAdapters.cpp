#include "SystemAdapters.h"

#include <algorithm>
#include <memory>
#include <system_error>

// clang-format off
#include <windows.h>
#include <cfgmgr32.h>
#include <setupapi.h>
// clang-format on

namespace
{

/// {4D36E972-E325-11CE-BFC1-08002BE10318}
constexpr GUID NetworkClass = {0x4D36E972, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
constexpr char ClassRoot[] = R"(SYSTEM\CurrentControlSet\Control\Class\)";
/// Node status: hidden in the Device Manager.
constexpr ULONG NotShown = 0x40000000;

struct CloseSet
{
    using pointer = HDEVINFO;
    void operator()(HDEVINFO set) const { SetupDiDestroyDeviceInfoList(set); }
};
using DeviceSet = std::unique_ptr<void, CloseSet>;

std::string Utf8(const std::wstring& text)
{
    const int size = static_cast<int>(text.size());
    std::string bytes(3 * text.size(), '\0');
    const int used = WideCharToMultiByte(CP_UTF8, 0, text.data(), size, bytes.data(), static_cast<int>(bytes.size()),
                                         nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(used));
    return bytes;
}

std::optional<std::string> Property(HDEVINFO set, SP_DEVINFO_DATA& device, DWORD code)
{
    // One more than the size passed to the call, so that the text ends.
    std::wstring buffer(501, L'\0');
    if (!SetupDiGetDeviceRegistryPropertyW(set, &device, code, nullptr, reinterpret_cast<BYTE*>(buffer.data()), 1000,
                                           nullptr))
        return std::nullopt;
    return Utf8(buffer.c_str());
}

/// Returns the values as texts, which is how the library reads them.
std::optional<std::string> TextValue(const std::string& key, const char* name)
{
    char text[300] = {};
    DWORD size = sizeof text - 1;
    if (RegGetValueA(HKEY_LOCAL_MACHINE, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size) != ERROR_SUCCESS)
        return std::nullopt;
    return std::string(text);
}

bool KeyExists(const std::string& path)
{
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return false;
    RegCloseKey(key);
    return true;
}

/// Only a missing file says that there is no device: others may refuse the open, for example for lack of rights.
bool HasControlDevice(const std::string& identity)
{
    const std::string path = R"(\\.\Zorvane_Wifi_Device)" + identity;
    const HANDLE file =
        CreateFileA(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return GetLastError() != ERROR_FILE_NOT_FOUND;
    CloseHandle(file);
    return true;
}

std::string Lower(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

AdapterFacts FactsOf(HDEVINFO set, SP_DEVINFO_DATA& device)
{
    AdapterFacts facts;
    const auto friendly = Property(set, device, SPDRP_FRIENDLYNAME);
    facts.Name = friendly ? *friendly : Property(set, device, SPDRP_DEVICEDESC).value_or("");
    ULONG status = 0;
    ULONG problem = 0;
    const CONFIGRET result = CM_Get_DevNode_Status(&status, &problem, device.DevInst, 0);
    // A device that is not plugged in has no node.
    facts.Present = result != CR_NO_SUCH_DEVNODE && result != CR_NO_SUCH_DEVINST;
    facts.Readable = result == CR_SUCCESS || !facts.Present;
    facts.Hidden = (status & NotShown) != 0;
    facts.Problem = problem;
    facts.HasHardwareId = Property(set, device, SPDRP_HARDWAREID).has_value();
    const auto driverKey = Property(set, device, SPDRP_DRIVER);
    facts.HasDriverKeyName = driverKey.has_value();
    const std::string key = ClassRoot + driverKey.value_or("?");
    facts.HasDriverKey = KeyExists(key);
    facts.HasLinkage = KeyExists(key + R"(\Linkage)");
    facts.HasNdi = KeyExists(key + R"(\NDI)");
    facts.Identity = TextValue(key, "NetCfgInstanceId");
    facts.DeviceInstanceId = TextValue(key, "DeviceInstanceID");
    if (const auto service = TextValue(key + R"(\NDI)", "Service"))
        facts.Service = Lower(*service);
    facts.HasControlDevice = HasControlDevice(facts.Identity.value_or(""));
    return facts;
}

} // namespace

std::vector<AdapterFacts> SystemAdapterFacts()
{
    // Without DIGCF_PRESENT the set contains devices that are not plugged in.
    const DeviceSet set(SetupDiGetClassDevsW(&NetworkClass, nullptr, nullptr, 0));
    if (set.get() == INVALID_HANDLE_VALUE)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), "SetupDiGetClassDevs");
    std::vector<AdapterFacts> facts;
    SP_DEVINFO_DATA device = {};
    device.cbSize = sizeof device;
    for (DWORD index = 0; SetupDiEnumDeviceInfo(set.get(), index, &device); ++index)
        facts.push_back(FactsOf(set.get(), device));
    return facts;
}
