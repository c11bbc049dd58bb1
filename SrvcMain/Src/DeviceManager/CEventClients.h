/// @file
/// The notification clients of a manager and the delivery of events to them.
#pragma once

#include "CSafeList.h"
#include "ManagerThread.h"
#include "MessageBlob.h"
#include "NotifyHandlers.h"

#include "ZVEvents.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

/// The manager's copy of a client's record.
struct CEventClient
{
    explicit CEventClient(const _ZV_WLAN_NOTIFY_HDLR& record) : Record(record) {}

    const _ZV_WLAN_NOTIFY_HDLR Record;
    std::atomic<bool> IsRegistered{true}; ///< Guarded by no lock.
};

/// One client list and the thread that calls its clients. Any thread may call any operation.
class CClientQueue final : public CZVNotifyHandler
{
public:
    using CClientList = CSafeList<std::shared_ptr<CEventClient>>;

    explicit CClientQueue(const std::string& threadName) : Thread(this, threadName) {}

    /// Moves the entry to the end of the list without allocating.
    void Append(CClientList::CList& entry) { Clients.Append(entry); }
    /// @return false when no client has this ID.
    bool Remove(std::uint32_t clientId);
    void Post(const ZVBlob& event) { Thread.Post(event); }
    /// Delivers what is queued and joins the thread; see CManagerThread::Stop.
    void Stop() { Thread.Stop(); }

    /// Calls the clients with one event, on the queue's thread.
    void NotifyCallback(std::string name, const ZVBlob& blob) override;

private:
    CClientList Clients;   ///< Has its own lock.
    CManagerThread Thread; ///< Thread-safe. Last, because it uses the list from its start on.
};

/// Registers clients and posts events to both queues. Any thread.
class CEventClients
{
public:
    /// RegisterNotification and DeRegisterNotification.
    unsigned int Register(_ZV_WLAN_NOTIFY_HDLR* client);
    unsigned int Deregister(const _ZV_WLAN_NOTIFY_HDLR* client);

    /// Posts an event to the clients of both queues without waiting for them.
    /// @return the blob, which may be posted to further queues.
    ZVBlob Post(std::uint32_t event);

    /// Stops both queues, the first one first.
    void Stop();

private:
    CClientQueue& QueueOfType(std::uint32_t clientType);

    std::atomic<std::uint32_t> LastClientId{0};              ///< Atomic, guarded by no lock.
    CClientQueue UserQueue{"Dev_Manager_User_Notification"}; ///< Thread-safe.
    CClientQueue ZVQueue{"Dev_Manager_ZV_Notification"};     ///< Thread-safe; for clients of ZV_INFO_REQ_MAGIC.
};
