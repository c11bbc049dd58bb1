/// SetQueryInfo: one numbered information item of the driver.

#include "CUWPDevice.h"

#include "CVirtualDriverBinding.h"
#include "TracePoint.h"

#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>

namespace
{

constexpr std::uint32_t HeadSize = sizeof(_ZV_DRV_INFO_REQ);
/// The largest data whose record and header still count in 32 bits.
constexpr std::uint32_t MaxLength = std::numeric_limits<std::uint32_t>::max() - HeadSize - ZV_REQ_OVERHEAD;

_ZV_DRV_INFO_REQ MakeHead(bool set, std::uint32_t infoId, std::uint32_t length)
{
    const std::uint32_t setSize = set ? length + 24 : 0;
    return {
        length + 36, ZV_INFO_REQ_MAGIC, 4,       1,     set ? ZV_INFO_KIND_SET : ZV_INFO_KIND_QUERY, length + HeadSize,
        infoId,      setSize,           setSize, length};
}

/// Sends the record and takes the answer from the same memory; what the driver does not write comes
/// back as it was.
bool ExchangeItem(const std::string& path, const _ZV_DRV_INFO_REQ& head, void* buffer)
{
    const auto record = std::make_unique_for_overwrite<std::byte[]>(head.RecordSize);
    std::byte* const data = record.get() + HeadSize;
    std::memcpy(record.get(), &head, HeadSize);
    std::memcpy(data, buffer, head.DataLength);
    if (!SendToDriver(path, {IOCTL_ZV_INFO_REQ, ZV_INFO_REQUEST_ID, record.get(), head.RecordSize, record.get(),
                             head.RecordSize, ZV_INFO_TIMEOUT_MS}))
        return false;
    std::memcpy(buffer, data, head.DataLength);
    return true;
}

} // namespace

bool CUWPDevice::Fake_SetQueryInfo(std::uint8_t isSet, std::uint32_t infoId, void* buffer, std::uint32_t length) const
{
    const ZVVirtualSetQuery setQuery = Virtual_Dev_SetQueryInfo;
    if (setQuery == nullptr)
        return false;
    setQuery(DeviceInfo->NetCfgInstanceId, isSet, infoId, buffer, length);
    return true;
}

unsigned int CUWPDevice::SetQueryInfo(std::uint8_t isSet, std::uint32_t infoId, void* buffer, std::uint32_t length)
{
    if (!IsDeviceReady())
        return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    if (Fake_SetQueryInfo(isSet, infoId, buffer, length) || buffer == nullptr)
        return ZV_SRVC_SUCCESS;
    std::uint32_t status = ZV_SRVC_ERR_DRIVER_REQUEST;
    if (length <= MaxLength && ExchangeItem(ControlPath, MakeHead(isSet == 1, infoId, length), buffer))
        status = ZV_SRVC_SUCCESS;
    const std::uint32_t set = isSet;
    ZV_TRACE(ItemDone, set, infoId, status);
    return status;
}
