/// @file
/// A manager that answers as a test chooses, and how long the tests wait.
#pragma once

#include <CDeviceManagerIntf.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <vector>

/// Only a failing test waits for so long.
constexpr auto Bound = std::chrono::seconds(30);

class FakeManager final : public CDeviceManagerIntf
{
public:
    unsigned int GetZVDeviceList(const _ZV_SRVC_DEVICE_LIST_REQ* /*request*/, _ZV_SRVC_DEVICE_LIST_RSP* result) override
    {
        ++Listings;
        if (Status != ZV_SRVC_SUCCESS)
            return Status;
        const std::size_t count = Counts.front();
        if (Counts.size() > 1)
            Counts.pop_front();
        const bool fits = result->Buffer != nullptr && count * sizeof(_ZV_SRVC_DEVICE_INFO) <= result->Length;
        result->Length = static_cast<std::uint32_t>(count * sizeof(_ZV_SRVC_DEVICE_INFO));
        for (std::size_t i = 0; fits && i < count; ++i)
        {
            result->Buffer[i] = {};
            std::fill_n(result->Buffer[i].DeviceName, i + 1, 'x');
        }
        return fits ? ZV_SRVC_SUCCESS : ZV_SRVC_ERR_BUFFER_TOO_SMALL;
    }
    unsigned int RegisterNotification(_ZV_WLAN_NOTIFY_HDLR* client) override
    {
        client->ClientId = 1;
        Client = *client;
        return Status;
    }
    unsigned int DeRegisterNotification(const _ZV_WLAN_NOTIFY_HDLR* client) override
    {
        Removed += client->ClientId;
        return ZV_SRVC_SUCCESS;
    }
    unsigned int OpenDevice(const _ZV_SRVC_DEVICE_INFO* /*record*/, _ZV_SRVC_INTERFACE_TYPE /*type*/,
                            std::shared_ptr<CDeviceIntf>& /*device*/) override
    {
        return ZV_SRVC_ERR_NO_DEVICE;
    }
    unsigned int NicChangeState(std::shared_ptr<CDeviceIntf>& /*device*/, std::uint8_t /*enable*/) override
    {
        return 5;
    }

    /// Calls the client that was registered last, even after its removal.
    void Deliver(std::uint32_t event) const
    {
        const _ZV_WLAN_NOTIFY_DATA data{0, 4, "\0\0\0"};
        Client.Callback(Client.Context, event, &data);
    }

    unsigned int Status = ZV_SRVC_SUCCESS; ///< Of listings and registrations.
    std::deque<std::size_t> Counts = {0};  ///< Adapters in the list at each call; the last number stays.
    int Listings = 0;
    std::uint32_t Removed = 0;
    _ZV_WLAN_NOTIFY_HDLR Client{};
};
