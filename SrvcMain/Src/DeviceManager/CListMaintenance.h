/// @file
/// Keeps the adapter list current: sweeps, merges, and the watchers of removed adapters.
#pragma once

#include "CAdapterList.h"
#include "CDrvUninstallCheck.h"
#include "CEventClients.h"
#include "CSafeList.h"
#include "ManagerThread.h"
#include "NotifyHandlers.h"

#include <memory>
#include <string>

class CStatusSweep;

/// Sweeps and merges on the service's thread. Also entered by the threads of its watchers
/// (DrvUninstallHdlr) and by its own thread (NotifyCallback).
class CListMaintenance final : public CZVNotifyHandler, public CDrvUninstallNotifyHdlr
{
public:
    /// @param list and clients must outlive this object.
    CListMaintenance(CAdapterList& list, CEventClients& clients);

    void OnArrival();
    void OnRemoval();

    /// Stops the thread, then waits for the watchers while all that they use still exists.
    void Stop();

    void NotifyCallback(std::string name, const ZVBlob& blob) override;
    void DrvUninstallHdlr(const ZVAdapterRecord& record) override;

private:
    bool CheckDeviceStatusInList();
    bool SweepOnce(bool& isCurrent);
    void WatchSuspects(const CStatusSweep& sweep);
    bool MergeNewDeviceToList();
    bool RefreshFromSimulatedDriver();

    CAdapterList& List;     ///< Thread-safe.
    CEventClients& Clients; ///< Thread-safe.
    /// Running watchers, and finished ones not yet destroyed. The list has its own lock.
    CSafeList<std::shared_ptr<CDrvUninstallCheck>> UninstallChecks;
    /// Destroys watchers, which means joining them. Thread-safe. Last, because it uses the watchers from its
    /// start on.
    CManagerThread UninstallThread{this, "Uninstall_Chk_Notification"};
};
