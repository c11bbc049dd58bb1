#include "SimulatedRequests.h"

#include "CVirtualDriverBinding.h"

bool Fake_IOCTL_Send(const _ZV_SRVC_DEVICE_INFO& record, const CDriverRequest& request)
{
    const ZVVirtualIoctl send = Virtual_SendIOCTLReq;
    if (send == nullptr)
        return false;
    send(record.NetCfgInstanceId, request.Code, request.RequestId, request.InBuffer, request.InLength,
         request.OutBuffer, request.OutLength, request.TimeoutMs);
    return true;
}

bool Fake_SetQueryInfo(const _ZV_SRVC_DEVICE_INFO& record, std::uint8_t isSet, std::uint32_t infoId, void* buffer,
                       std::uint32_t length)
{
    const ZVVirtualSetQuery setQuery = Virtual_Dev_SetQueryInfo;
    if (setQuery == nullptr)
        return false;
    setQuery(record.NetCfgInstanceId, isSet, infoId, buffer, length);
    return true;
}

bool Fake_AccessRegistry(const _ZV_SRVC_DEVICE_INFO& record, std::uint32_t operation, const std::string& subKey,
                         const std::string& valueName, std::uint32_t* type, std::uint8_t* data, std::uint32_t* size)
{
    const ZVVirtualRegistry access = Virtual_AccessRegistry;
    if (access == nullptr)
        return false;
    access(record.NetCfgInstanceId, operation, subKey.c_str(), valueName.c_str(), type, data, size);
    return true;
}
