/// Keeps the adapter list current: the sweep after a removal and the merge after an arrival.

#include "CUWPDeviceManager.h"
#include "NetClassWalk.h"
#include "RegistryAccess.h"
#include "TracePoint.h"

#include <algorithm>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace
{

/// What the system says of one present network adapter.
struct CSighting
{
    std::string NetCfgInstanceId;
    std::string DriverVersion;
    bool HasProblem;
};

bool Contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

std::string_view IdentityOf(const ZVAdapterRecord& record)
{
    return FieldText(record->NetCfgInstanceId);
}

/// Reads all present network adapters.
/// @return nothing when the system's lists cannot be had.
std::optional<std::vector<CSighting>> ReadSystem()
{
    CNetClassWalk walk;
    if (!walk.Open())
        return std::nullopt;
    std::vector<CSighting> sightings;
    while (const std::optional<CDeviceNode> device = walk.Next())
    {
        const auto path = device->Property(SPDRP_DRIVER, ZV_PROPERTY_CAPACITY);
        if (!path)
            continue;
        if (const CRegistryKey key = walk.OpenDriverKey(*path))
            sightings.push_back({ReadText(key.Get(), "NetCfgInstanceId", sizeof _ZV_SRVC_DEVICE_INFO::NetCfgInstanceId),
                                 ReadText(key.Get(), "DriverVersion", sizeof _ZV_SRVC_DEVICE_INFO::DriverVersion),
                                 device->Problem() != 0});
    }
    return sightings;
}

/// Revives or updates one listed record from a new one of the same adapter.
/// @return true for a change that clients are told of.
bool MergeInto(_ZV_SRVC_DEVICE_INFO& listed, const _ZV_SRVC_DEVICE_INFO& fresh)
{
    // One bit a merge: an adapter that was faulted and absent comes back as a faulted one.
    bool changed = ClearStateFlags(listed, ZV_DEV_ABSENT);
    if (!changed && (LoadStateFlags(fresh) & ZV_DEV_HAS_PROBLEM) == 0)
        changed = ClearStateFlags(listed, ZV_DEV_HAS_PROBLEM);
    if (TakeDriverVersion(listed, fresh))
    {
        SetStateFlags(listed, ZV_DEV_DRIVER_CHANGED);
        return true;
    }
    ClearStateFlags(listed, ZV_DEV_DRIVER_CHANGED);
    return changed;
}

} // namespace

/// One sweep's work in progress.
struct CUWPDeviceManager::CSweep
{
    std::vector<ZVAdapterRecord> Records;  ///< The list as the first pass found it.
    std::vector<std::string> Sighted;      ///< The identities of records that the system has.
    std::vector<ZVAdapterRecord> Suspects; ///< For the watcher; one of the first pass may come twice.
    std::uint64_t Rebuilds = 0;            ///< Tells whether the list is still that one.
    bool Changed = false;

    void Sight(const ZVAdapterRecord& record, const CSighting& sighting);
    void FirstPass(const std::vector<CSighting>& system);
    bool WasSighted(const ZVAdapterRecord& record) const
    {
        return std::ranges::any_of(Sighted, [&](const auto& entry) { return Contains(IdentityOf(record), entry); });
    }
};

/// Brings a sighted record's problem and version bits up to date.
void CUWPDeviceManager::CSweep::Sight(const ZVAdapterRecord& record, const CSighting& sighting)
{
    if (sighting.HasProblem && SetStateFlags(*record, ZV_DEV_HAS_PROBLEM))
    {
        Suspects.push_back(record);
        Changed = true;
    }
    if (!sighting.HasProblem && ClearStateFlags(*record, ZV_DEV_HAS_PROBLEM))
        Changed = true;
    // The record keeps its version: only a merge takes a new one over.
    if (Contains(sighting.DriverVersion, DriverVersionOf(*record)))
        ClearStateFlags(*record, ZV_DEV_DRIVER_CHANGED);
    else if (SetStateFlags(*record, ZV_DEV_DRIVER_CHANGED))
        Changed = true;
    Sighted.emplace_back(IdentityOf(record));
}

void CUWPDeviceManager::CSweep::FirstPass(const std::vector<CSighting>& system)
{
    for (const CSighting& sighting : system)
        for (const ZVAdapterRecord& record : Records)
            if (Contains(IdentityOf(record), sighting.NetCfgInstanceId))
                Sight(record, sighting);
}

bool CUWPDeviceManager::CheckDeviceStatusInList(CAdapterList& list)
{
    if (RefreshFromSimulatedDriver(list))
        return true;
    const std::optional<std::vector<CSighting>> system = ReadSystem();
    if (!system)
        return true; // Nobody knows; the clients are told to look.
    CSweep sweep;
    {
        // In one step with the count: a listing whose walk is older than this sweep's sees it and
        // walks again, and so does not undo what the sweep has found.
        const CScopedLock lock(FilterLock);
        ++MaintenanceCount;
        sweep.Rebuilds = RebuildCount;
        sweep.Records = list.Snapshot();
        sweep.FirstPass(*system);
    }
    SecondPass(sweep);
    WatchSuspects(sweep);
    const std::uint32_t changed = sweep.Changed ? 1 : 0;
    const auto sighted = static_cast<std::uint32_t>(sweep.Sighted.size());
    const auto suspects = static_cast<std::uint32_t>(sweep.Suspects.size());
    ZV_TRACE(SweepDone, sighted, suspects, changed);
    return sweep.Changed;
}

/// Marks the records that the system does not have or whose driver does not answer. This never
/// revives one.
void CUWPDeviceManager::SecondPass(CSweep& sweep)
{
    for (const ZVAdapterRecord& record : sweep.Records)
        if (!IsConfirmed(*record, sweep.Sighted) && MarkAbsent(*record, sweep.WasSighted(record), sweep.Rebuilds))
        {
            sweep.Suspects.push_back(record);
            sweep.Changed = true;
        }
}

/// Opens the adapter, which asks its driver, for each sighted identity until one is the record's.
bool CUWPDeviceManager::IsConfirmed(const _ZV_SRVC_DEVICE_INFO& record, const std::vector<std::string>& sighted)
{
    try
    {
        return std::ranges::any_of(sighted, [&](const std::string& entry) {
            std::shared_ptr<CDeviceIntf> probe;
            const unsigned int status = OpenDevice(&record, ZV_SRVC_DEVICE_UWP, probe);
            return Contains(FieldText(record.NetCfgInstanceId), entry) && status == ZV_SRVC_SUCCESS;
        });
    }
    catch (const std::system_error&)
    {
        // A probe that found no thread says nothing about the adapter, which therefore stays as it is.
        ZV_TRACE(ProbeFailed, record.NetCfgInstanceId);
        return true;
    }
}

/// A host may have rebuilt the list since the first pass. The record is then out of the list, where
/// no probe finds it and no merge revives it, but devices are still bound to it: it counts as absent
/// only when the system does not have it.
/// @return true when the record was not absent before.
bool CUWPDeviceManager::MarkAbsent(_ZV_SRVC_DEVICE_INFO& record, bool wasSighted, std::uint64_t rebuilds)
{
    const CScopedLock lock(FilterLock);
    return (!wasSighted || RebuildCount == rebuilds) && SetStateFlags(record, ZV_DEV_ABSENT);
}

/// Every sweep leaves its watcher in the list, also one without records. Those that are through
/// with theirs go first, or a long series of removals without an arrival would let the list grow.
void CUWPDeviceManager::WatchSuspects(const CSweep& sweep)
{
    std::list<std::shared_ptr<CDrvUninstallCheck>> finished; // Joins, so it ends with no lock held.
    UninstallChecks.With([&finished](auto& checks) {
        for (auto next = checks.begin(); next != checks.end();)
            if (const auto check = next++; !(*check)->IsRunning())
                finished.splice(finished.end(), checks, check);
    });
    const auto check = std::make_shared<CDrvUninstallCheck>();
    for (const ZVAdapterRecord& record : sweep.Suspects)
        check->Add(record);
    check->StartCheck(this);
    UninstallChecks.PushBack(check);
}

/// A merge that would run on a list that a host has meanwhile rebuilt, perhaps for other adapters,
/// does nothing.
std::optional<bool> CUWPDeviceManager::MergeNewDeviceToList(CAdapterList& list, const CAdapterList& fresh,
                                                            std::uint64_t rebuilds)
{
    if (RefreshFromSimulatedDriver(list))
        return true;
    std::vector<ZVAdapterRecord> touched;
    bool changed = false;
    const std::vector<ZVAdapterRecord> arrivals = fresh.Snapshot();
    {
        const CScopedLock lock(FilterLock);
        if (RebuildCount != rebuilds)
            return std::nullopt;
        ++MaintenanceCount;
        std::vector<ZVAdapterRecord> known = list.Snapshot();
        for (const ZVAdapterRecord& arrival : arrivals)
        {
            bool found = false;
            for (const ZVAdapterRecord& listed : known)
                if (Contains(IdentityOf(arrival), IdentityOf(listed)))
                {
                    found = true;
                    changed |= MergeInto(*listed, *arrival);
                    touched.push_back(listed);
                }
            if (found)
                continue;
            AddDeviceToList(list, arrival);
            known.push_back(arrival);
            touched.push_back(arrival);
            changed = true;
        }
    }
    for (const ZVAdapterRecord& record : touched)
    {
        const std::uint32_t flags = LoadStateFlags(*record);
        ZV_TRACE(MergedRecord, record->NetCfgInstanceId, flags);
    }
    return changed;
}

/// @return false when its entry is not bound, and nothing has happened.
bool CUWPDeviceManager::RefreshFromSimulatedDriver(CAdapterList& list)
{
    const auto delivered = ReadSimulatedDriver();
    if (!delivered)
        return false;
    const CScopedLock lock(FilterLock);
    ++MaintenanceCount;
    FillOrRefresh(list, *delivered);
    return true;
}
