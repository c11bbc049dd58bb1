#include "CArrivalMerge.h"

#include "TracePoint.h"

#include <string_view>

namespace
{

std::string_view IdentityOf(const ZVAdapterRecord& record)
{
    return FieldText(record->NetCfgInstanceId);
}

/// Revives or updates a record from a new one of the same adapter.
/// @return true for a change that clients are notified of.
bool MergeInto(CRecordChange& change, const ZVAdapterRecord& fresh)
{
    // Each merge clears at most one of the two bits: an adapter that was faulted and absent becomes
    // present first and stays faulted.
    bool changed = change.Put(ZV_DEV_ABSENT, false);
    if (!changed && (LoadStateFlags(*fresh) & ZV_DEV_HAS_PROBLEM) == 0)
        changed = change.Put(ZV_DEV_HAS_PROBLEM, false);
    const bool isNewVersion = change.TakeVersion(fresh);
    change.Put(ZV_DEV_DRIVER_CHANGED, isNewVersion);
    return changed || isNewVersion;
}

} // namespace

CArrivalMerge::CArrivalMerge(const ZVAdapterRecords& listed, const ZVAdapterRecords& arrivals)
{
    for (const ZVAdapterRecord& record : listed)
        Append(record);
    for (const ZVAdapterRecord& arrival : arrivals)
        Take(arrival);
}

void CArrivalMerge::Append(const ZVAdapterRecord& record)
{
    Records->push_back(record);
    Changes.emplace_back(record);
    Index.Add(IdentityOf(record));
}

void CArrivalMerge::Take(const ZVAdapterRecord& arrival)
{
    const std::vector<std::size_t> matches = Index.FindIn(IdentityOf(arrival));
    for (const std::size_t number : matches)
    {
        Changed |= MergeInto(Changes[number], arrival);
        Touched.push_back(number);
    }
    if (!matches.empty())
        return;
    Touched.push_back(Records->size());
    Append(arrival);
    Appended = true;
    Changed = true;
}

bool CArrivalMerge::ApplyTo(CAdapterList& list, const CListState& state, bool isForced) const
{
    ZVRecordList longer = Appended ? Records : nullptr;
    return list.ApplyMerge(Changes, longer, state, isForced);
}

void CArrivalMerge::Trace() const
{
    for (const std::size_t number : Touched)
    {
        const _ZV_SRVC_DEVICE_INFO& record = *(*Records)[number];
        const std::uint32_t flags = LoadStateFlags(record);
        ZV_TRACE(MergedRecord, record.NetCfgInstanceId, flags);
    }
}
