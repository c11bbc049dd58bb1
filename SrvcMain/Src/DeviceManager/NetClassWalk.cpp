#include "NetClassWalk.h"

#include "TracePoint.h"

#include <array>
#include <span>
#include <vector>

namespace
{

constexpr CWideText NetworkClass{"Net"};
constexpr DWORD MaxClassGuids = 10;

} // namespace

std::optional<std::u16string> CNetDevice::Property(DWORD code, DWORD capacity) const
{
    // One unit more than the platform is told of, so that the text always has an end.
    std::vector<WCHAR> buffer(capacity / sizeof(WCHAR) + 1);
    SP_DEVINFO_DATA device = Data;
    DWORD required = 0;
    if (!SetupDiGetDeviceRegistryPropertyW(Set, &device, code, nullptr, reinterpret_cast<BYTE*>(buffer.data()),
                                           capacity, &required))
        return std::nullopt;
    std::u16string text;
    for (const WCHAR* unit = buffer.data(); *unit != 0; ++unit)
        text.push_back(static_cast<char16_t>(*unit));
    return text;
}

bool CNetClassWalk::Open()
{
    std::array<GUID, MaxClassGuids> guids{};
    DWORD required = 0;
    if (!SetupDiClassGuidsFromNameW(NetworkClass.Text, guids.data(), MaxClassGuids, &required))
    {
        const std::uint32_t error = GetLastError();
        ZV_TRACE(WalkNoClass, error);
        return false;
    }
    Set.Reset(SetupDiGetClassDevsW(guids.data(), nullptr, nullptr, DIGCF_PRESENT));
    if (!Set)
    {
        const std::uint32_t error = GetLastError();
        ZV_TRACE(WalkNoSet, error);
        return false;
    }
    // The platform's one call that reports a missing key as an invalid handle.
    const HKEY root = SetupDiOpenClassRegKey(nullptr, KEY_READ);
    if (static_cast<void*>(root) == INVALID_HANDLE_VALUE)
    {
        const std::uint32_t error = GetLastError();
        ZV_TRACE(WalkNoClassRoot, error);
        Set.Reset();
        return false;
    }
    ClassRoot.Reset(root);
    return true;
}

std::optional<CNetDevice> CNetClassWalk::Next()
{
    SP_DEVINFO_DATA data{};
    data.cbSize = sizeof data;
    static_assert(sizeof data == 32);
    while (SetupDiEnumDeviceInfo(Set.Get(), Index, &data))
    {
        ++Index;
        // Set beforehand, since a platform may report success and write neither.
        ULONG status = 0;
        ULONG problem = 0;
        if (CM_Get_DevNode_Status(&status, &problem, data.DevInst, 0) != CR_SUCCESS)
            continue;
        if ((status & DN_NO_SHOW_IN_DM) == 0)
            return CNetDevice(Set.Get(), data, problem);
    }
    return std::nullopt;
}

CRegistryKey CNetClassWalk::OpenDriverKey(const std::u16string& path) const
{
    CRegistryKey key;
    // For an empty path the platform gives the root key itself, which is not the device's to close.
    if (path.empty())
        return key;
    std::vector<WCHAR> text(path.begin(), path.end());
    text.push_back(0);
    RegOpenKeyW(ClassRoot.Get(), text.data(), key.Receive());
    return key;
}
