#include "CListMaintenance.h"

#include "AdapterEnumeration.h"
#include "CArrivalMerge.h"
#include "CStatusSweep.h"
#include "PresentAdapters.h"
#include "TracePoint.h"

#include <list>
#include <optional>
#include <utility>

CListMaintenance::CListMaintenance(CAdapterList& list, CEventClients& clients) : List(list), Clients(clients) {}

void CListMaintenance::Stop()
{
    UninstallThread.Stop();
    UninstallChecks.Clear();
}

void CListMaintenance::OnArrival()
{
    if (MergeNewDeviceToList())
        UninstallThread.Post(Clients.Post(ZV_EVT_DEVICE_ARRIVED));
}

void CListMaintenance::OnRemoval()
{
    if (CheckDeviceStatusInList())
        Clients.Post(ZV_EVT_DEVICE_STATUS_CHANGED);
}

/// Destroys the watchers after an arrival. Waits for those that still run, and delays nothing but this
/// thread.
void CListMaintenance::NotifyCallback(std::string /*name*/, const ZVBlob& /*blob*/)
{
    UninstallChecks.Clear();
}

/// The record stays in the list: devices bound to it detect by its other flags that it is unusable.
void CListMaintenance::DrvUninstallHdlr(const ZVAdapterRecord& record)
{
    SetStateFlags(*record, ZV_DEV_DRIVER_UNINSTALLED);
    ZV_TRACE(DriverUninstalled, record->NetCfgInstanceId);
    Clients.Post(ZV_EVT_DRIVER_UNINSTALLED);
}

/// Sweeps again if a host has replaced the list meanwhile, because its new records are not checked yet.
/// @return true when clients are notified.
bool CListMaintenance::CheckDeviceStatusInList()
{
    bool changed = false;
    for (int round = 0; round < ZV_MAX_ROUNDS; ++round)
    {
        bool isCurrent = true;
        changed |= SweepOnce(isCurrent);
        if (isCurrent)
            return changed;
    }
    List.RequestRepeat(ZV_REPEAT_SWEEP);
    return changed;
}

/// @param isCurrent becomes false when a host has replaced the list that was swept.
/// @return true when clients are notified.
bool CListMaintenance::SweepOnce(bool& isCurrent)
{
    if (RefreshFromSimulatedDriver())
        return true;
    const std::optional<std::vector<CPresentAdapter>> present = ReadPresentAdapters();
    if (!present)
        return true; // The result is unknown; the clients are notified so that they list again.
    CStatusSweep sweep(List);
    sweep.Run(*present);
    WatchSuspects(sweep);
    sweep.Trace();
    isCurrent = sweep.IsCurrent();
    return sweep.HasChanges();
}

/// Adds a watcher for this sweep, even an empty one, after pruning finished ones so that the list stays
/// bounded during a long series of removals without an arrival.
void CListMaintenance::WatchSuspects(const CStatusSweep& sweep)
{
    std::list<std::shared_ptr<CDrvUninstallCheck>> finished; // Joined on destruction, after the lock.
    UninstallChecks.With([&finished](auto& checks) {
        for (auto next = checks.begin(); next != checks.end();)
            if (const auto check = next++; !(*check)->IsRunning())
                finished.splice(finished.end(), checks, check);
    });
    const auto check = std::make_shared<CDrvUninstallCheck>();
    for (const ZVAdapterRecord& record : sweep.Suspects())
        check->Add(record);
    check->StartCheck(this);
    UninstallChecks.PushBack(check);
}

/// Enumerates for the filter of the last listing; an enumeration that fails leaves nothing to merge. If a
/// host replaces the list meanwhile, perhaps for another filter, the arrivals are not for that list and
/// the merge starts over. In the last round the records of the replaced list are updated nevertheless,
/// because devices may be bound to them, and the service merges once more later.
/// @return true when clients are notified.
bool CListMaintenance::MergeNewDeviceToList()
{
    for (int round = 1;; ++round)
    {
        const CListState state = List.Current();
        ZVAdapterRecords arrivals;
        EnumDeviceToList(*state.Filter, arrivals);
        if (RefreshFromSimulatedDriver())
            return true;
        const CArrivalMerge merge(*state.Records, arrivals);
        const bool isLastRound = round == ZV_MAX_ROUNDS;
        const bool isCurrent = merge.ApplyTo(List, state, isLastRound);
        if (!isCurrent && !isLastRound)
            continue;
        merge.Trace();
        if (!isCurrent)
            List.RequestRepeat(ZV_REPEAT_MERGE);
        return merge.HasChanges();
    }
}

/// @return false when the simulated driver's entry is not bound; nothing has happened then.
bool CListMaintenance::RefreshFromSimulatedDriver()
{
    std::optional<ZVAdapterRecords> delivered = ReadSimulatedDriver();
    if (!delivered)
        return false;
    List.Refresh(std::move(*delivered));
    return true;
}
