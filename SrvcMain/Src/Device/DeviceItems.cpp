/// SetQueryInfo: one numbered information item of the driver.

#include "CUWPDevice.h"

#include "SimulatedRequests.h"
#include "TracePoint.h"

#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>

namespace
{

constexpr std::uint32_t HeadSize = sizeof(_ZV_DRV_INFO_REQ);
/// The largest data whose record and header have a size of 32 bits.
constexpr std::uint32_t MaxLength = std::numeric_limits<std::uint32_t>::max() - HeadSize - ZV_REQ_OVERHEAD;

_ZV_DRV_INFO_REQ MakeHead(bool set, std::uint32_t infoId, std::uint32_t length)
{
    const std::uint32_t setSize = set ? length + 24 : 0;
    return {.BodySize = length + 36,
            .Signature = ZV_INFO_REQ_MAGIC,
            .Fixed4 = 4,
            .Fixed1 = 1,
            .Kind = set ? ZV_INFO_KIND_SET : ZV_INFO_KIND_QUERY,
            .RecordSize = length + HeadSize,
            .InfoId = infoId,
            .SetSize1 = setSize,
            .SetSize2 = setSize,
            .DataLength = length};
}

/// Sends the record and reads the answer from the same memory, so bytes that the driver does not write
/// stay unchanged.
bool ExchangeItem(const std::string& path, const _ZV_DRV_INFO_REQ& head, void* buffer)
{
    const auto record = std::make_unique_for_overwrite<std::byte[]>(head.RecordSize);
    std::byte* const data = record.get() + HeadSize;
    std::memcpy(record.get(), &head, HeadSize);
    std::memcpy(data, buffer, head.DataLength);
    if (!SendToDriver(path, {.Code = IOCTL_ZV_INFO_REQ,
                             .RequestId = ZV_INFO_REQUEST_ID,
                             .InBuffer = record.get(),
                             .InLength = head.RecordSize,
                             .OutBuffer = record.get(),
                             .OutLength = head.RecordSize,
                             .TimeoutMs = ZV_INFO_TIMEOUT_MS}))
        return false;
    std::memcpy(buffer, data, head.DataLength);
    return true;
}

} // namespace

unsigned int CUWPDevice::SetQueryInfo(std::uint8_t isSet, std::uint32_t infoId, void* buffer, std::uint32_t length)
{
    const auto [record, path] = Ready();
    if (record == nullptr)
        return ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    std::uint32_t status = ZV_SRVC_ERR_DRIVER_REQUEST;
    // A length that no record can hold is refused on both paths, before a simulated driver sees it.
    if (buffer != nullptr && length > MaxLength)
        ZV_TRACE(SendTooLarge, IOCTL_ZV_INFO_REQ, length);
    else if (Fake_SetQueryInfo(*record, isSet, infoId, buffer, length) || buffer == nullptr)
        return ZV_SRVC_SUCCESS;
    else if (ExchangeItem(*path, MakeHead(isSet == 1, infoId, length), buffer))
        status = ZV_SRVC_SUCCESS;
    const std::uint32_t set = isSet;
    ZV_TRACE(ItemDone, set, infoId, status);
    return status;
}
