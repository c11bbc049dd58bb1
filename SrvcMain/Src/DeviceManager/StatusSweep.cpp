/// The status sweep: compares the listed adapters with the system after a removal.

#include "CUWPDeviceManager.h"
#include "CreateZVModule.h"
#include "DriverKeyText.h"
#include "IdentityIndex.h"
#include "NetClassWalk.h"
#include "ProbedDevices.h"
#include "ProcessEnd.h"
#include "TracePoint.h"

#include <algorithm>
#include <list>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace
{

/// The enumeration's result for one present network adapter.
struct CSighting
{
    std::string DriverVersion;
    std::string NetCfgInstanceId;
    bool HasProblem;
};

bool Contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

std::string_view IdentityOf(const _ZV_SRVC_DEVICE_INFO& record)
{
    return FieldText(record.NetCfgInstanceId);
}

/// @return nothing for a device whose driver key cannot be read or is being deleted.
std::optional<CSighting> ReadDevice(const CNetClassWalk& walk, const CDeviceNode& device)
{
    const auto path = device.Property(SPDRP_DRIVER, ZV_PROPERTY_CAPACITY);
    if (!path)
        return std::nullopt;
    const CRegistryKey key = walk.OpenDriverKey(*path);
    if (!key)
        return std::nullopt;
    CDriverKeyText text;
    std::string version = text.Read(key, "DriverVersion", sizeof _ZV_SRVC_DEVICE_INFO::DriverVersion);
    std::string identity = text.QueryIdentity(key).value_or(std::string());
    if (text.IsBeingDeleted())
        return std::nullopt;
    return CSighting{std::move(version), std::move(identity), device.Problem() != 0};
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
        if (std::optional<CSighting> sighting = ReadDevice(walk, *device))
            sightings.push_back(std::move(*sighting));
    return sightings;
}

/// Returns for each sighting the numbers of the records whose identity contains it, in list order.
std::vector<std::vector<std::size_t>> Match(const ZVAdapterRecords& records, const std::vector<CSighting>& system)
{
    CIdentityIndex index;
    for (const CSighting& sighting : system)
        index.Add(sighting.NetCfgInstanceId);
    std::vector<std::vector<std::size_t>> matches(system.size());
    for (std::size_t number = 0; number < records.size(); ++number)
        for (const std::size_t sighting : index.FindIn(IdentityOf(*records[number])))
            matches[sighting].push_back(number);
    return matches;
}

} // namespace

/// One sweep's work in progress. The first pass is planned here, with no lock held.
struct CUWPDeviceManager::CSweep
{
    explicit CSweep(CListState state);

    void Plan(const std::vector<CSighting>& system);
    void Sight(std::size_t number, const CSighting& sighting);
    /// Carries out what Plan has found. Allocates nothing.
    void Apply() const noexcept;

    const CListState State;                   ///< The list as the sweep found it.
    const ZVAdapterRecords& Records;          ///< Its records.
    std::vector<std::uint32_t> OldFlags;      ///< By record.
    std::vector<std::uint32_t> NewFlags;      ///< By record.
    std::vector<bool> WasSighted;             ///< By record.
    std::vector<std::string_view> Enumerated; ///< The identities of records that the system has.
    ZVAdapterRecords Suspects;                ///< For the watcher; one of the first pass may come twice.
    bool Changed = false;
    CProbedDevices Probed;
};

CUWPDeviceManager::CSweep::CSweep(CListState state)
    : State(std::move(state)), Records(*State.Records), WasSighted(Records.size())
{
    for (const ZVAdapterRecord& record : Records)
        OldFlags.push_back(LoadStateFlags(*record));
    NewFlags = OldFlags;
}

void CUWPDeviceManager::CSweep::Plan(const std::vector<CSighting>& system)
{
    const auto matches = Match(Records, system);
    for (std::size_t sighting = 0; sighting < system.size(); ++sighting)
        for (const std::size_t number : matches[sighting])
            Sight(number, system[sighting]);
    // So that the second pass marks no record that the watcher then lacks.
    Suspects.reserve(Suspects.size() + Records.size());
}

/// Plans a sighted record's problem and version bits.
void CUWPDeviceManager::CSweep::Sight(std::size_t number, const CSighting& sighting)
{
    const ZVAdapterRecord& record = Records[number];
    std::uint32_t& flags = NewFlags[number];
    const bool hadProblem = (flags & ZV_DEV_HAS_PROBLEM) != 0;
    if (sighting.HasProblem && !hadProblem)
        Suspects.push_back(record);
    Changed = Changed || sighting.HasProblem != hadProblem;
    flags = sighting.HasProblem ? flags | ZV_DEV_HAS_PROBLEM : flags & ~ZV_DEV_HAS_PROBLEM;
    // The record keeps its version: only a merge takes a new one over.
    const bool isSame = Contains(sighting.DriverVersion, DriverVersionOf(*record));
    Changed = Changed || (!isSame && (flags & ZV_DEV_DRIVER_CHANGED) == 0);
    flags = isSame ? flags & ~ZV_DEV_DRIVER_CHANGED : flags | ZV_DEV_DRIVER_CHANGED;
    Enumerated.push_back(IdentityOf(*record));
    WasSighted[number] = true;
}

void CUWPDeviceManager::CSweep::Apply() const noexcept
{
    for (std::size_t number = 0; number < Records.size(); ++number)
        if (OldFlags[number] != NewFlags[number])
        {
            SetStateFlags(*Records[number], NewFlags[number] & ~OldFlags[number]);
            ClearStateFlags(*Records[number], OldFlags[number] & ~NewFlags[number]);
        }
}

/// A host that rebuilds the list during the sweep leaves it with records that the sweep has not checked.
bool CUWPDeviceManager::CheckDeviceStatusInList()
{
    bool changed = false;
    for (int round = 0; round < ZV_MAX_ROUNDS; ++round)
    {
        bool isCurrent = true;
        changed |= SweepOnce(isCurrent);
        if (isCurrent)
            return changed;
    }
    LookAgain(ZV_AGAIN_SWEEP);
    return changed;
}

/// @param isCurrent becomes false when the list is no longer the one that was swept.
bool CUWPDeviceManager::SweepOnce(bool& isCurrent)
{
    if (RefreshFromSimulatedDriver())
        return true;
    const std::optional<std::vector<CSighting>> system = ReadSystem();
    if (!system)
        return true; // The result is unknown; the clients are notified so that they list again.
    CSweep sweep(CurrentState());
    sweep.Plan(*system);
    FirstPass(sweep);
    SecondPass(sweep);
    WatchSuspects(sweep);
    const std::uint32_t changed = sweep.Changed ? 1 : 0;
    const auto sighted = static_cast<std::uint32_t>(sweep.Enumerated.size());
    const auto suspects = static_cast<std::uint32_t>(sweep.Suspects.size());
    ZV_TRACE(SweepDone, sighted, suspects, changed);
    isCurrent = IsCurrent(sweep.State.Rebuilds);
    return sweep.Changed;
}

/// In one step with the count: a listing whose enumeration is older than this sweep's sees it and
/// enumerates again, and so does not undo what the sweep has found. If a host has rebuilt the list since
/// the plan, the records are still those of open devices.
void CUWPDeviceManager::FirstPass(CSweep& sweep)
{
    const CScopedLock lock(FilterLock);
    ++SweepCount;
    sweep.Apply();
}

/// Marks the records that the system does not have or whose driver does not answer. This never
/// revives one.
void CUWPDeviceManager::SecondPass(CSweep& sweep)
{
    for (std::size_t number = 0; number < sweep.Records.size(); ++number)
        if (!IsConfirmed(sweep, number) &&
            MarkAbsent(*sweep.Records[number], sweep.WasSighted[number], sweep.State.Rebuilds))
        {
            sweep.Suspects.push_back(sweep.Records[number]);
            sweep.Changed = true;
        }
}

/// Opens the adapter, which asks its driver, for each sighted identity until one is the record's. A
/// record whose flags make Open refuse it needs no device: only this thread clears those flags.
bool CUWPDeviceManager::IsConfirmed(CSweep& sweep, std::size_t number)
{
    const std::string_view identity = IdentityOf(*sweep.Records[number]);
    ZVAdapterRecord listed = FindRecord(identity);
    if (listed == nullptr || (LoadStateFlags(*listed) & ZV_DEV_UNAVAILABLE_MASK) != 0)
        return false;
    try
    {
        return std::ranges::any_of(sweep.Enumerated, [&](std::string_view entry) {
            if (ExitHasBegun())
                return true;
            std::shared_ptr<CDeviceIntf> probe;
            const bool isOpen =
                CreateZVModule(probe, ZV_SRVC_DEVICE_UWP) == ZV_SRVC_SUCCESS && probe->Open(listed) == ZV_SRVC_SUCCESS;
            sweep.Probed.Keep(std::move(probe));
            return isOpen && Contains(identity, entry);
        });
    }
    catch (const std::system_error&)
    {
        ZV_TRACE(ProbeFailed, sweep.Records[number]->NetCfgInstanceId);
    }
    catch (const std::bad_alloc&)
    {
        ZV_TRACE(ProbeFailed, sweep.Records[number]->NetCfgInstanceId);
    }
    // A probe without a thread or memory proves nothing about an adapter that the enumeration found, which
    // therefore keeps its state.
    return sweep.WasSighted[number];
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

bool CUWPDeviceManager::IsCurrent(std::uint64_t rebuilds)
{
    const CScopedLock lock(FilterLock);
    return RebuildCount == rebuilds;
}

/// Adds a watcher for this sweep, even an empty one, after pruning finished ones so that the list stays
/// bounded during a long series of removals without an arrival.
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

/// @return false when its entry is not bound, and nothing has happened.
bool CUWPDeviceManager::RefreshFromSimulatedDriver()
{
    std::optional<ZVAdapterRecords> delivered = ReadSimulatedDriver();
    if (!delivered)
        return false;
    CAdapterList::CState exchanged = std::make_shared<const ZVAdapterRecords>(std::move(*delivered));
    const CAdapterList::CState fresh = exchanged;
    const CScopedLock lock(FilterLock);
    ++SweepCount;
    ++MergeCount;
    if (const CAdapterList::CState listed = DeviceList.Get(); listed->empty())
        DeviceList.Swap(exchanged);
    else
        RefreshFlags(*listed, *fresh);
    return true;
}
