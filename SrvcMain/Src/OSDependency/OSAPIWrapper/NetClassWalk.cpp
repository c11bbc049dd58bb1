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

std::optional<std::u16string> CDeviceNode::Property(DWORD code, DWORD capacity) const
{
    // One unit more than the size passed to the call, so that the text is always terminated.
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

CRegistryKey CDeviceNode::OpenDriverKey() const
{
    SP_DEVINFO_DATA device = Data;
    const HKEY key = SetupDiOpenDevRegKey(Set, &device, DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_ALL_ACCESS);
    // Like SetupDiOpenClassRegKey, this call reports a missing key as an invalid handle.
    return static_cast<void*>(key) == INVALID_HANDLE_VALUE ? CRegistryKey() : CRegistryKey(key);
}

DWORD CDeviceNode::ChangeState(DWORD state, DWORD scope) const
{
    SP_DEVINFO_DATA device = Data;
    SP_PROPCHANGE_PARAMS parameters{};
    static_assert(sizeof parameters == 20);
    parameters.ClassInstallHeader.cbSize = sizeof parameters.ClassInstallHeader;
    parameters.ClassInstallHeader.InstallFunction = DIF_PROPERTYCHANGE;
    parameters.StateChange = state;
    parameters.Scope = scope;
    if (SetupDiSetClassInstallParamsW(Set, &device, &parameters.ClassInstallHeader, sizeof parameters) &&
        SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, Set, &device))
        return ERROR_SUCCESS;
    // A failure without an error number is still a failure.
    const DWORD error = GetLastError();
    return error != ERROR_SUCCESS ? error : ERROR_GEN_FAILURE;
}

bool FindNetworkClass(GUID* guids, DWORD capacity)
{
    DWORD required = 0;
    return SetupDiClassGuidsFromNameW(NetworkClass.Text, guids, capacity, &required);
}

bool CNetClassWalk::Open()
{
    std::array<GUID, MaxClassGuids> guids{};
    if (!FindNetworkClass(guids.data(), MaxClassGuids))
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
    // This call reports a missing key as an invalid handle.
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

std::optional<CDeviceNode> CDeviceWalk::Next()
{
    SP_DEVINFO_DATA data{};
    data.cbSize = sizeof data;
    static_assert(sizeof data == 32);
    while (SetupDiEnumDeviceInfo(Set.Get(), Index, &data))
    {
        ++Index;
        // Initialized, because the call may report success without writing them.
        ULONG status = 0;
        ULONG problem = 0;
        if (CM_Get_DevNode_Status(&status, &problem, data.DevInst, 0) != CR_SUCCESS)
            continue;
        if ((status & DN_NO_SHOW_IN_DM) == 0)
            return CDeviceNode(Set.Get(), data, problem);
    }
    return std::nullopt;
}

CRegistryKey CNetClassWalk::OpenDriverKey(const std::u16string& path) const
{
    CRegistryKey key;
    // For an empty path Windows returns the root key itself, which must not be closed here.
    if (path.empty())
        return key;
    std::vector<WCHAR> text(path.begin(), path.end());
    text.push_back(0);
    RegOpenKeyW(ClassRoot.Get(), text.data(), key.Receive());
    return key;
}
