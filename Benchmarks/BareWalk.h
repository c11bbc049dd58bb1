/// @file
/// The platform calls of an enumeration, without any processing of what they return.
#pragma once

#include "OSPlatform.h"

#include <array>
#include <cstddef>

namespace BareWalkDetail
{

/// What the calls write to; one size for all, as large as the library's largest.
struct Buffers
{
    std::array<WCHAR, 513> Property;
    std::array<WCHAR, 513> DriverKey;
    std::array<BYTE, 300> Text;
};

inline bool ReadProperty(HDEVINFO set, SP_DEVINFO_DATA device, DWORD code, DWORD capacity, WCHAR* buffer)
{
    DWORD required = 0;
    buffer[0] = 0;
    return SetupDiGetDeviceRegistryPropertyW(set, &device, code, nullptr, reinterpret_cast<BYTE*>(buffer), capacity,
                                             &required) != FALSE;
}

inline void ReadText(HKEY key, const char* name, Buffers& buffers, DWORD size)
{
    DWORD type = 0;
    RegQueryValueExA(key, name, nullptr, &type, buffers.Text.data(), &size);
}

inline bool ReadAdapter(HDEVINFO set, const SP_DEVINFO_DATA& device, HKEY root, Buffers& buffers)
{
    if (!ReadProperty(set, device, SPDRP_HARDWAREID, 1000, buffers.Property.data()) ||
        !ReadProperty(set, device, SPDRP_DRIVER, 1000, buffers.DriverKey.data()))
        return false;
    HKEY key = nullptr;
    HKEY linkage = nullptr;
    HKEY ndi = nullptr;
    if (RegOpenKeyW(root, buffers.DriverKey.data(), &key) != ERROR_SUCCESS)
        return false;
    RegOpenKeyA(key, "Linkage", &linkage);
    RegCloseKey(linkage);
    RegOpenKeyA(key, "NDI", &ndi);
    ReadText(ndi, "Service", buffers, 100);
    for (const DWORD code : {SPDRP_FRIENDLYNAME, SPDRP_DEVICEDESC, SPDRP_CLASS, SPDRP_CLASSGUID})
        if (ReadProperty(set, device, code, 200, buffers.Property.data()) && buffers.Property[0] != 0)
            break;
    ReadText(key, "DriverVersion", buffers, 50);
    ReadText(key, "InfSection", buffers, 50);
    ReadText(key, "NetCfgInstanceId", buffers, 50);
    ReadText(key, "DeviceInstanceID", buffers, 300);
    RegCloseKey(ndi);
    RegCloseKey(key);
    return true;
}

} // namespace BareWalkDetail

/// @return the number of adapters.
inline std::size_t BareWalk()
{
    constexpr WCHAR net[] = {'N', 'e', 't', 0};
    std::array<GUID, 10> guids{};
    DWORD required = 0;
    SetupDiClassGuidsFromNameW(net, guids.data(), 10, &required);
    const HDEVINFO set = SetupDiGetClassDevsW(guids.data(), nullptr, nullptr, DIGCF_PRESENT);
    const HKEY root = SetupDiOpenClassRegKey(nullptr, KEY_READ);
    BareWalkDetail::Buffers buffers;
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof device;
    std::size_t count = 0;
    for (DWORD index = 0; SetupDiEnumDeviceInfo(set, index, &device); ++index)
    {
        ULONG status = 0;
        ULONG problem = 0;
        CM_Get_DevNode_Status(&status, &problem, device.DevInst, 0);
        if (BareWalkDetail::ReadAdapter(set, device, root, buffers))
            ++count;
    }
    RegCloseKey(root);
    SetupDiDestroyDeviceInfoList(set);
    return count;
}
