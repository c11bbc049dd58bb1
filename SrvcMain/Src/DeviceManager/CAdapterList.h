/// @file
/// The listed adapters, the filter that they were enumerated for, and GetZVDeviceList.
#pragma once

#include "AdapterFilter.h"
#include "AdapterRecord.h"
#include "Lock.h"
#include "RecordChange.h"

#include "ZVDeviceInfo.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

/// How often a listing, a sweep or a merge reads the operating system before it accepts a result that is
/// out of date. The service's thread then repeats what the result may lack.
inline constexpr int ZV_MAX_ROUNDS = 2;

/// What the service's thread must repeat.
inline constexpr std::uint32_t ZV_REPEAT_SWEEP = 0x1;
inline constexpr std::uint32_t ZV_REPEAT_MERGE = 0x2;

/// The records in listing order. The vector never changes once it is listed.
using ZVRecordList = std::shared_ptr<const ZVAdapterRecords>;

/// The bytes of all records as a host gets them, so that repeated listings cost one copy of memory. Never changes.
struct CListImage
{
    ZVRecordList Of;           ///< The list that was copied; kept, so that no later list has its address.
    std::uint64_t Changes = 0; ///< RecordChanges() before the copy.
    std::vector<std::byte> Bytes;
};

/// What one listing, sweep or merge starts from.
struct CListState
{
    std::shared_ptr<const CAdapterFilter> Filter;
    ZVRecordList Records;
    std::uint64_t Rebuilds = 0;
    std::uint64_t Sweeps = 0;
    std::uint64_t Merges = 0;
};

/// A writer prepares a new vector of records and swaps it in, so a reader holds the lock for the copy of
/// pointers only, however many adapters are listed.
class CAdapterList
{
public:
    /// GetZVDeviceList. Any thread.
    unsigned int AnswerRequest(const _ZV_SRVC_DEVICE_LIST_REQ* request, _ZV_SRVC_DEVICE_LIST_RSP* result);

    CListState Current() const ZV_EXCLUDES(ListLock);

    /// Returns the listed record of an identity, or null. The caller's reference keeps the record while
    /// its driver is asked.
    ZVAdapterRecord Find(std::string_view netCfgInstanceId) const ZV_EXCLUDES(ListLock);

    /// Returns true while no host has replaced the list since the state was read.
    bool IsCurrent(const CListState& state) const ZV_EXCLUDES(ListLock);

    /// @name Maintenance, on the service's thread
    /// @{

    /// Applies a sweep's changes and counts the sweep in one step: a listing whose enumeration is older
    /// detects the sweep and enumerates again instead of undoing it. If a host has replaced the list, the
    /// changed records are still those of open devices.
    void ApplySweep(std::span<const CRecordChange> changes) noexcept ZV_EXCLUDES(ListLock);

    /// Sets ZV_DEV_ABSENT. If a host has replaced the list since the state was read, no probe finds the
    /// record and no merge revives it, although devices may still be bound to it. It then becomes absent
    /// only if the operating system does not have the adapter.
    /// @return true when the record was not absent before.
    bool MarkAbsent(_ZV_SRVC_DEVICE_INFO& record, bool isPresent, const CListState& state) ZV_EXCLUDES(ListLock);

    /// Applies a merge's changes and counts the merge in one step.
    /// @param longer the list with its new adapters, or null when there are none. Swapped in unless a host
    ///        has replaced the list; receives the previous list.
    /// @param isForced applies the changes even if a host has replaced the list.
    /// @return false when a host has replaced the list since the state was read.
    bool ApplyMerge(std::span<const CRecordChange> changes, ZVRecordList& longer, const CListState& state,
                    bool isForced) noexcept ZV_EXCLUDES(ListLock);

    /// Takes the records of a simulated driver into an empty list; otherwise copies their flags to the
    /// listed records. Counts as a sweep and as a merge.
    void Refresh(ZVAdapterRecords delivered) ZV_EXCLUDES(ListLock);
    /// @}

    /// Has the service's thread repeat actions after the messages that are already queued. Any thread.
    void RequestRepeat(std::uint32_t actions);

    /// Returns the requested actions and removes them.
    std::uint32_t TakeRepeats() { return Repeats.exchange(0); }

private:
    /// What a listing with this filter is answered from; `List` is null when it must enumerate.
    struct CCached
    {
        ZVRecordList List;
        std::shared_ptr<const CListImage> Image; ///< Null when there is none or it is out of date.
    };

    CCached FindCached(std::string_view services) const ZV_EXCLUDES(ListLock);
    std::shared_ptr<const CListImage> RenewImage(const ZVRecordList& list) ZV_EXCLUDES(ListLock);
    unsigned int AnswerFromCache(CCached cached, _ZV_SRVC_DEVICE_LIST_RSP& result) ZV_EXCLUDES(ListLock);
    unsigned int Enumerate(CAdapterFilter filter, _ZV_SRVC_DEVICE_LIST_RSP& result) ZV_EXCLUDES(ListLock);

    /// Held for a few assignments, and by a sweep or a merge for its flag changes; never while adapters are
    /// enumerated, compared or copied.
    mutable CLock ListLock;
    ZVRecordList Records ZV_GUARDED_BY(ListLock) = std::make_shared<const ZVAdapterRecords>();
    /// What the list was last enumerated for. Immutable, so that it is exchanged without an allocation.
    std::shared_ptr<const CAdapterFilter> Filter ZV_GUARDED_BY(ListLock) = std::make_shared<const CAdapterFilter>();
    /// Null before the first repeated listing. May be of an earlier list or out of date; a listing checks that.
    std::shared_ptr<const CListImage> Image ZV_GUARDED_BY(ListLock);
    /// How often hosts have replaced the list, and how often the service has swept it and merged into it.
    /// From the other's count each side detects that what it has read of the operating system is out of date.
    std::uint64_t RebuildCount ZV_GUARDED_BY(ListLock) = 0;
    std::uint64_t SweepCount ZV_GUARDED_BY(ListLock) = 0;
    std::uint64_t MergeCount ZV_GUARDED_BY(ListLock) = 0;
    /// ZV_REPEAT bits that the service's thread has not taken yet. Atomic, guarded by no lock.
    std::atomic<std::uint32_t> Repeats{0};
};
