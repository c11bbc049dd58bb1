/// Notification clients and the delivery of events to them.

#include "CUWPDeviceManager.h"

#include <algorithm>
#include <memory>

namespace
{

constexpr std::size_t PayloadOffset = offsetof(_ZV_WLAN_EVENT_MSG, Payload);

} // namespace

CUWPDeviceManager::CClientList& CUWPDeviceManager::ClientsOfType(std::uint32_t clientType)
{
    return clientType == ZV_INFO_REQ_MAGIC ? ZVClients : UserClients;
}

unsigned int CUWPDeviceManager::RegisterNotification(_ZV_WLAN_NOTIFY_HDLR* client)
{
    if (client == nullptr)
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    _ZV_WLAN_NOTIFY_HDLR record = *client;
    record.ClientId = NextClientId.fetch_add(1, std::memory_order_relaxed) + 1;
    CClientList::CList entry;
    entry.push_back(std::make_shared<CClient>(record));
    // Nothing fails from here on. The number comes first, since the client's callback may use it.
    client->ClientId = record.ClientId;
    ClientsOfType(record.ClientType).Append(entry);
    return ZV_SRVC_SUCCESS;
}

unsigned int CUWPDeviceManager::DeRegisterNotification(const _ZV_WLAN_NOTIFY_HDLR* client)
{
    if (client == nullptr)
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    const bool removed = ClientsOfType(client->ClientType).With([client](CClientList::CList& list) {
        const auto found =
            std::ranges::find(list, client->ClientId, [](const auto& entry) { return entry->Record.ClientId; });
        if (found == list.end())
            return false;
        (*found)->IsRegistered = false;
        list.erase(found);
        return true;
    });
    return removed ? ZV_SRVC_SUCCESS : ZV_SRVC_ERR_INVALID_PARAMETER;
}

void CUWPDeviceManager::NotifyCallback(std::string name, const ZVBlob& blob)
{
    if (name == UninstallNotifierName)
    {
        // Waits for those that still run, and holds up nothing but this thread.
        UninstallChecks.Clear();
        return;
    }
    const auto message = ReadBlob<_ZV_WLAN_EVENT_MSG>(blob);
    const _ZV_WLAN_NOTIFY_DATA data{0, message.Length, blob.get() + PayloadOffset};
    // Copies the current references: a client that registers meanwhile receives the next event first, and
    // one that deregisters stays valid until its call has returned. A client that an earlier client
    // deregistered in its callback is skipped, because its host may have released it.
    CClientList& clients = name.find(UserNotifierName) != std::string::npos ? UserClients : ZVClients;
    for (const auto& client : clients.Snapshot())
        if (client->Record.Callback != nullptr && client->IsRegistered)
            client->Record.Callback(client->Record.Context, message.Type, &data);
}
