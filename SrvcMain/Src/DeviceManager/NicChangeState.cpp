/// Enables and disables an adapter through the device installer of Windows.

#include "CUWPDeviceManager.h"
#include "DriverKeyText.h"
#include "NetClassWalk.h"
#include "TracePoint.h"

#include <array>
#include <optional>
#include <utility>

namespace
{

/// A device with its driver key, which stays open while the device is being changed.
struct CFoundDevice
{
    CDeviceNode Node;
    CRegistryKey DriverKey;
};

/// Finds the present device of an identity in any class.
std::optional<CFoundDevice> FindDevice(CDeviceWalk& walk, std::string_view netCfgInstanceId)
{
    while (const std::optional<CDeviceNode> node = walk.Next())
    {
        CRegistryKey key = node->OpenDriverKey();
        if (!key)
            continue;
        if (CDriverKeyText().QueryIdentity(key) == netCfgInstanceId)
            return CFoundDevice{*node, std::move(key)};
    }
    return std::nullopt;
}

/// The first call enables an adapter that was disabled for all hardware profiles. Only the second is
/// needed in every case, so its result counts.
DWORD Enable(const CDeviceNode& node)
{
    node.ChangeState(DICS_ENABLE, DICS_FLAG_GLOBAL);
    return node.ChangeState(DICS_ENABLE, DICS_FLAG_CONFIGSPECIFIC);
}

DWORD Disable(const CDeviceNode& node)
{
    return node.ChangeState(DICS_DISABLE, DICS_FLAG_CONFIGSPECIFIC);
}

unsigned int ChangeAdapter(std::string_view netCfgInstanceId, bool enable)
{
    std::array<GUID, 1> guids{}; // Only checked: the adapter is searched in all classes.
    if (!FindNetworkClass(guids.data(), guids.size()))
        return ZV_SRVC_ERR_FAILURE;
    CDeviceWalk walk(SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_PRESENT | DIGCF_ALLCLASSES));
    if (!walk)
        return ZV_SRVC_ERR_FAILURE;
    const std::optional<CFoundDevice> found = FindDevice(walk, netCfgInstanceId);
    if (!found)
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    return enable ? Enable(found->Node) : Disable(found->Node);
}

} // namespace

unsigned int CUWPDeviceManager::NicChangeState(std::shared_ptr<CDeviceIntf>& device, std::uint8_t enable)
{
    _ZV_SRVC_DEVICE_INFO record{};
    if (device == nullptr || device->GetDeviceInfo(&record) != ZV_SRVC_SUCCESS)
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    const std::uint32_t status = ChangeAdapter(FieldText(record.NetCfgInstanceId), enable != 0);
    const std::uint32_t wanted = enable;
    ZV_TRACE(StateChangeDone, wanted, std::string(FieldText(record.NetCfgInstanceId)), status);
    return status;
}
