/// @file
/// The arrival merge: takes newly enumerated adapters into the list.
#pragma once

#include "CAdapterList.h"
#include "IdentityIndex.h"
#include "RecordChange.h"

#include <cstddef>
#include <memory>
#include <vector>

/// One merge, planned completely before the list is locked.
class CArrivalMerge
{
public:
    CArrivalMerge(const ZVAdapterRecords& listed, const ZVAdapterRecords& arrivals);

    /// Applies the plan in one step; see CAdapterList::ApplyMerge.
    bool ApplyTo(CAdapterList& list, const CListState& state, bool isForced) const;
    /// Returns true when clients are notified of the merge.
    bool HasChanges() const { return Changed; }
    void Trace() const;

private:
    void Take(const ZVAdapterRecord& arrival);
    void Append(const ZVAdapterRecord& record);

    /// The listed records, followed by the new ones; becomes the list when there are new ones.
    std::shared_ptr<ZVAdapterRecords> Records = std::make_shared<ZVAdapterRecords>();
    std::vector<CRecordChange> Changes; ///< By record.
    CIdentityIndex Index;               ///< Over the identities of `Records`.
    std::vector<std::size_t> Touched;   ///< The numbers of new and matching records.
    bool Appended = false;
    bool Changed = false;
};
