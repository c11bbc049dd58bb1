#include "CEventClients.h"

#include "ZVStatus.h"

#include <algorithm>
#include <cstddef>

bool CClientQueue::Remove(std::uint32_t clientId)
{
    return Clients.With([clientId](CClientList::CList& list) {
        const auto found = std::ranges::find(list, clientId, [](const auto& entry) { return entry->Record.ClientId; });
        if (found == list.end())
            return false;
        (*found)->IsRegistered = false;
        list.erase(found);
        return true;
    });
}

/// Calls the clients through references taken at the start: a client that registers meanwhile receives
/// the next event first, and one that deregisters stays valid until its call has returned. A client that
/// an earlier client deregistered in its callback is skipped, because its host may have released it.
/// Uses no member after the first callback, because a callback may release the manager.
void CClientQueue::NotifyCallback(std::string /*name*/, const ZVBlob& blob)
{
    const auto message = ReadBlob<_ZV_WLAN_EVENT_MSG>(blob);
    const _ZV_WLAN_NOTIFY_DATA data{0, message.Length, blob.get() + offsetof(_ZV_WLAN_EVENT_MSG, Payload)};
    for (const auto& client : Clients.Snapshot())
        if (client->Record.Callback != nullptr && client->IsRegistered)
            client->Record.Callback(client->Record.Context, message.Type, &data);
}

CClientQueue& CEventClients::QueueOfType(std::uint32_t clientType)
{
    return clientType == ZV_INFO_REQ_MAGIC ? ZVQueue : UserQueue;
}

unsigned int CEventClients::Register(_ZV_WLAN_NOTIFY_HDLR* client)
{
    if (client == nullptr)
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    _ZV_WLAN_NOTIFY_HDLR record = *client;
    record.ClientId = LastClientId.fetch_add(1, std::memory_order_relaxed) + 1;
    CClientQueue::CClientList::CList entry;
    entry.push_back(std::make_shared<CEventClient>(record));
    // Nothing fails from here on. The ID comes first, since the client's callback may use it.
    client->ClientId = record.ClientId;
    QueueOfType(record.ClientType).Append(entry);
    return ZV_SRVC_SUCCESS;
}

unsigned int CEventClients::Deregister(const _ZV_WLAN_NOTIFY_HDLR* client)
{
    if (client == nullptr || !QueueOfType(client->ClientType).Remove(client->ClientId))
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    return ZV_SRVC_SUCCESS;
}

ZVBlob CEventClients::Post(std::uint32_t event)
{
    ZVBlob blob = MakeEventBlob(event);
    UserQueue.Post(blob);
    ZVQueue.Post(blob);
    return blob;
}

void CEventClients::Stop()
{
    UserQueue.Stop();
    ZVQueue.Stop();
}
