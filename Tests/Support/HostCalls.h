/// @file
/// What a host does through the public interface, in the words of the tests.
#pragma once

#include "HostKit/Adapters.h"
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

using HostKit::FilterRecord;

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

inline Listing List(CDeviceManagerIntf& manager, std::string_view filter, std::string_view patterns = "")
{
    Listing listing;
    listing.Status = HostKit::QueryAdapters(manager, filter, patterns, listing.Records);
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
