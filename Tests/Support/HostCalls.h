/// @file
/// What a host does through the public interface, in the words of the tests.
#pragma once

#include "ZVSrvcLib.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

inline std::shared_ptr<CDeviceManagerIntf> MakeManager()
{
    std::shared_ptr<CDeviceManagerIntf> manager;
    CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP);
    return manager;
}

/// A filter record with its open end.
class FilterRecord
{
public:
    explicit FilterRecord(std::string_view filter, std::string_view patterns = "")
        : Bytes(ZV_FILTER_TEXT_SIZE + patterns.size() + 1)
    {
        filter.copy(Bytes.data(), ZV_FILTER_TEXT_SIZE - 1);
        patterns.copy(Bytes.data() + ZV_FILTER_TEXT_SIZE, patterns.size());
        Request = {ZV_DEVICE_LIST_REQ_TAG, 0, reinterpret_cast<const _ZV_SRVC_DEVICE_FILTER*>(Bytes.data())};
    }
    FilterRecord(const FilterRecord&) = delete;
    FilterRecord& operator=(const FilterRecord&) = delete;

    _ZV_SRVC_DEVICE_LIST_REQ Request{};

private:
    std::vector<char> Bytes;
};

struct Listing
{
    unsigned int Status = ZV_SRVC_SUCCESS;
    std::vector<_ZV_SRVC_DEVICE_INFO> Records;

    std::vector<std::string> Identities() const
    {
        std::vector<std::string> identities;
        identities.reserve(Records.size());
        for (const _ZV_SRVC_DEVICE_INFO& record : Records)
            identities.emplace_back(record.NetCfgInstanceId);
        return identities;
    }
};

/// The usual two calls, again when the list grows between them.
inline Listing List(CDeviceManagerIntf& manager, std::string_view filter, std::string_view patterns = "")
{
    const FilterRecord record(filter, patterns);
    Listing listing;
    _ZV_SRVC_DEVICE_LIST_RSP result{};
    while ((listing.Status = manager.GetZVDeviceList(&record.Request, &result)) == ZV_SRVC_ERR_BUFFER_TOO_SMALL)
    {
        // One more than needed, since a null buffer only asks for the size.
        listing.Records.resize(result.Length / sizeof(_ZV_SRVC_DEVICE_INFO) + 1);
        result.Buffer = listing.Records.data();
    }
    listing.Records.resize(listing.Status == ZV_SRVC_SUCCESS ? result.Length / sizeof(_ZV_SRVC_DEVICE_INFO) : 0);
    return listing;
}

/// The statuses of calls whose arguments no driver and no registry call can accept.
inline std::vector<unsigned int> StatusesOfWrongCalls(CDeviceIntf& device)
{
    std::uint8_t octet = 0;
    std::uint32_t word = 4;
    _ZV_SRVC_IOCTL_REQ noIn{};
    noIn.InLength = 1;
    _ZV_SRVC_IOCTL_REQ noOut{};
    noOut.OutLength = 1;
    const auto write = [&](std::uint32_t* type, std::uint8_t* data, std::uint32_t* size) {
        return device.AccessRegistry(ZV_REG_OP_WRITE, "", "x", type, data, size);
    };
    return {device.SendIOCTLReq(nullptr),
            device.SendIOCTLReq(&noIn),
            device.SendIOCTLReq(&noOut),
            device.SetQueryInfo(0, 1, &octet, 0xFFFFFFFF - 39),
            device.SetQueryInfo(0, 1, nullptr, 5),
            device.GetDeviceInfo(nullptr),
            device.GetAbility(nullptr),
            device.AccessRegistry(ZV_REG_OP_READ, "", "x", &word, &octet, nullptr),
            write(nullptr, &octet, &word),
            write(&word, nullptr, &word),
            write(&word, &octet, nullptr)};
}

inline const std::vector<unsigned int> WrongCallStatuses{12, 12, 12, 2, 0, 12, 12, 1, 12, 12, 12};
