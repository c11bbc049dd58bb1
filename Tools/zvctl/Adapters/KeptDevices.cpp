#include "KeptDevices.h"

#include "AdapterView.h"

#include <cstring>
#include <map>
#include <string>
#include <utility>

namespace
{

struct Kept
{
    std::shared_ptr<CDeviceIntf> Device;
    bool Answered = false;
};

/// The devices stay open until the program exits.
std::map<std::string, Kept, std::less<>>& Devices()
{
    static std::map<std::string, Kept, std::less<>> devices;
    return devices;
}

/// A list for another filter has other records. A device that was opened before keeps its old record, which no event
/// updates any more.
bool HasRecord(CDeviceIntf& device, const _ZV_SRVC_DEVICE_INFO& listed)
{
    _ZV_SRVC_DEVICE_INFO bound = {};
    return device.GetDeviceInfo(&bound) == ZV_SRVC_SUCCESS && std::memcmp(&bound, &listed, sizeof bound) == 0;
}

} // namespace

void KeptDevices::Keep(std::string_view identity, std::shared_ptr<CDeviceIntf> device, bool answered)
{
    Devices().insert_or_assign(std::string(identity), Kept{std::move(device), answered});
}

std::shared_ptr<CDeviceIntf> KeptDevices::Find(std::string_view identity)
{
    const auto kept = Devices().find(identity);
    return kept == Devices().end() ? nullptr : kept->second.Device;
}

std::shared_ptr<CDeviceIntf> KeptDevices::FindUsable(const _ZV_SRVC_DEVICE_INFO& listed, bool needsAnswer)
{
    const auto kept = Devices().find(FieldText(listed.NetCfgInstanceId));
    if (kept == Devices().end() || (needsAnswer && !kept->second.Answered))
        return nullptr;
    const bool isUsable = (listed.StateFlags & ZV_DEV_UNAVAILABLE_MASK) == 0 && HasRecord(*kept->second.Device, listed);
    return isUsable ? kept->second.Device : nullptr;
}
