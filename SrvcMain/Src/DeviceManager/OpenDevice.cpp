/// From a listed adapter to an open device.

#include "CUWPDeviceManager.h"

#include "CreateZVModule.h"

#include <algorithm>
#include <utility>

/// The reference keeps the record while the driver is asked.
ZVAdapterRecord CUWPDeviceManager::FindRecord(std::string_view netCfgInstanceId) const
{
    const CAdapterList::CState listed = DeviceList.Get();
    const auto found = std::ranges::find_if(*listed, [netCfgInstanceId](const ZVAdapterRecord& record) {
        return FieldText(record->NetCfgInstanceId) == netCfgInstanceId;
    });
    return found == listed->end() ? nullptr : *found;
}

unsigned int CUWPDeviceManager::OpenDevice(const _ZV_SRVC_DEVICE_INFO* record, _ZV_SRVC_INTERFACE_TYPE type,
                                           std::shared_ptr<CDeviceIntf>& device)
{
    if (record == nullptr)
        return ZV_SRVC_ERR_NO_DEVICE;
    ZVAdapterRecord listed = FindRecord(FieldText(record->NetCfgInstanceId));
    if (listed == nullptr)
        return ZV_SRVC_ERR_NO_DEVICE;
    std::shared_ptr<CDeviceIntf> made;
    if (const unsigned int status = CreateZVModule(made, type); status != ZV_SRVC_SUCCESS)
        return status;
    const unsigned int status = made->Open(listed);
    // Handed out whatever the status, but not when one of the calls above throws.
    device = std::move(made);
    return status;
}
