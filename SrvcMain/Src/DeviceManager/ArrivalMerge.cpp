/// The arrival merge: takes newly enumerated adapters into the list.

#include "CUWPDeviceManager.h"
#include "IdentityIndex.h"
#include "TracePoint.h"

#include <cstring>
#include <string_view>
#include <vector>

namespace
{

std::string_view IdentityOf(const ZVAdapterRecord& record)
{
    return FieldText(record->NetCfgInstanceId);
}

/// What a merge does to one record, planned with no lock held. Flags and version change on the
/// service's thread only, but for a bit that a merge does not touch.
class CRecordChange
{
public:
    explicit CRecordChange(const ZVAdapterRecord& record)
        : Record(record), Version(record), OldFlags(LoadStateFlags(*record)), NewFlags(OldFlags)
    {
    }

    /// Revives or updates the record from a new one of the same adapter.
    /// @return true for a change that clients are notified of.
    bool MergeFrom(const ZVAdapterRecord& fresh);

    void Apply() const noexcept
    {
        if (Version != Record)
            TakeDriverVersion(*Record, *Version);
        if (OldFlags == NewFlags)
            return;
        SetStateFlags(*Record, NewFlags & ~OldFlags);
        ClearStateFlags(*Record, OldFlags & ~NewFlags);
    }

private:
    bool Clear(std::uint32_t bit)
    {
        const bool wasSet = (NewFlags & bit) != 0;
        NewFlags &= ~bit;
        return wasSet;
    }

    ZVAdapterRecord Record;
    ZVAdapterRecord Version; ///< The record whose version this one will have.
    std::uint32_t OldFlags;
    std::uint32_t NewFlags;
};

bool CRecordChange::MergeFrom(const ZVAdapterRecord& fresh)
{
    // One bit a merge: an adapter that was faulted and absent comes back as a faulted one.
    bool changed = Clear(ZV_DEV_ABSENT);
    if (!changed && (LoadStateFlags(*fresh) & ZV_DEV_HAS_PROBLEM) == 0)
        changed = Clear(ZV_DEV_HAS_PROBLEM);
    if (std::memcmp(Version->DriverVersion, fresh->DriverVersion, sizeof fresh->DriverVersion) != 0)
    {
        Version = fresh;
        NewFlags |= ZV_DEV_DRIVER_CHANGED;
        return true;
    }
    Clear(ZV_DEV_DRIVER_CHANGED);
    return changed;
}

/// A whole merge, planned before the list is locked.
class CMergePlan
{
public:
    CMergePlan(const ZVAdapterRecords& listed, const ZVAdapterRecords& arrivals);

    bool IsChange() const { return Changed; }
    /// Whether the list becomes longer, and what it then is.
    bool Appends() const { return Appended; }
    const ZVAdapterRecords& Records() const { return Known; }
    /// Allocates nothing.
    void Apply() const noexcept
    {
        for (const CRecordChange& change : Changes)
            change.Apply();
    }
    void Trace() const;

private:
    void Take(const ZVAdapterRecord& arrival);
    void Append(const ZVAdapterRecord& record)
    {
        Known.push_back(record);
        Changes.emplace_back(record);
        Index.Add(IdentityOf(record));
    }

    ZVAdapterRecords Known;             ///< The listed records, followed by the new ones.
    std::vector<CRecordChange> Changes; ///< By record.
    CIdentityIndex Index;               ///< Over the identities of `Known`.
    std::vector<std::size_t> Touched;
    bool Appended = false;
    bool Changed = false;
};

CMergePlan::CMergePlan(const ZVAdapterRecords& listed, const ZVAdapterRecords& arrivals)
{
    for (const ZVAdapterRecord& record : listed)
        Append(record);
    for (const ZVAdapterRecord& arrival : arrivals)
        Take(arrival);
}

void CMergePlan::Take(const ZVAdapterRecord& arrival)
{
    const std::vector<std::size_t> matches = Index.FindIn(IdentityOf(arrival));
    for (const std::size_t number : matches)
    {
        Changed |= Changes[number].MergeFrom(arrival);
        Touched.push_back(number);
    }
    if (!matches.empty())
        return;
    Touched.push_back(Known.size());
    Append(arrival);
    Appended = true;
    Changed = true;
}

void CMergePlan::Trace() const
{
    for (const std::size_t number : Touched)
    {
        const _ZV_SRVC_DEVICE_INFO& record = *Known[number];
        const std::uint32_t flags = LoadStateFlags(record);
        ZV_TRACE(MergedRecord, record.NetCfgInstanceId, flags);
    }
}

} // namespace

/// Enumerates for the filter of the last listing; an enumeration that fails leaves nothing to merge. A
/// host may rebuild the list meanwhile, perhaps for other adapters, and nothing is then appended to it.
/// When that happens in each round, the listed records of the last round are updated, since devices are
/// bound to them, the clients are notified of what was found, and the service merges once more later.
bool CUWPDeviceManager::MergeNewDeviceToList()
{
    for (int round = 1;; ++round)
    {
        const CListState state = CurrentState();
        ZVAdapterRecords arrivals;
        EnumDeviceToList(*state.Filter, arrivals);
        if (RefreshFromSimulatedDriver())
            return true;
        const CMergePlan plan(*state.Records, arrivals);
        CAdapterList::CState exchanged;
        if (plan.Appends())
            exchanged = std::make_shared<const ZVAdapterRecords>(plan.Records());
        bool isCurrent = true;
        {
            const CScopedLock lock(FilterLock);
            isCurrent = RebuildCount == state.Rebuilds;
            if (!isCurrent && round < ZV_MAX_ROUNDS)
                continue;
            ++MergeCount;
            plan.Apply();
            if (isCurrent && plan.Appends())
                DeviceList.Swap(exchanged);
        }
        plan.Trace();
        if (!isCurrent)
            LookAgain(ZV_AGAIN_MERGE);
        return plan.IsChange();
    }
}
