#include "CAdapterList.h"

#include "AdapterEnumeration.h"
#include "CWinPwrEvtHandle.h"
#include "NotifyHandlers.h"
#include "TracePoint.h"

#include "ZVStatus.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <utility>

namespace
{

constexpr std::uint32_t RecordSize = sizeof(_ZV_SRVC_DEVICE_INFO);

void TracePatterns(const CAdapterFilter& filter)
{
    for (const std::string& pattern : filter.InstanceIdFilters)
        ZV_TRACE(ListPattern, pattern);
}

/// Writes the size of the list to the result.
/// @return false when the host's buffer is missing or too small.
bool AcceptsSize(std::size_t count, _ZV_SRVC_DEVICE_LIST_RSP& result)
{
    const std::uint32_t needed = static_cast<std::uint32_t>(count) * RecordSize;
    const bool fits = result.Buffer != nullptr && needed <= result.Length;
    result.Length = needed;
    if (!fits)
        result.Type = ZV_DEVICE_LIST_RSP_TAG;
    return fits;
}

/// No lock: the vector never changes.
void CopyRecords(const ZVAdapterRecords& list, std::byte* to)
{
    for (const ZVAdapterRecord& record : list)
    {
        CopyRecord(*record, to);
        to += RecordSize;
    }
}

/// Copies the records straight into the host's buffer.
unsigned int CopyListOut(const ZVAdapterRecords& list, _ZV_SRVC_DEVICE_LIST_RSP& result)
{
    if (!AcceptsSize(list.size(), result))
        return ZV_SRVC_ERR_BUFFER_TOO_SMALL;
    CopyRecords(list, reinterpret_cast<std::byte*>(result.Buffer));
    return ZV_SRVC_SUCCESS;
}

/// @return null when there is no memory for it.
std::shared_ptr<const CListImage> MakeImage(const ZVRecordList& list)
try
{
    const auto image = std::make_shared<CListImage>();
    image->Of = list;
    image->Changes = RecordChanges();
    image->Bytes.resize(list->size() * RecordSize);
    CopyRecords(*list, image->Bytes.data());
    return image;
}
catch (const std::bad_alloc&)
{
    return nullptr;
}

/// Copies the flags of each delivered record to the first listed one of the same identity.
void RefreshFlags(const ZVAdapterRecords& listed, const ZVAdapterRecords& delivered)
{
    for (const ZVAdapterRecord& record : delivered)
    {
        const auto& identity = record->NetCfgInstanceId;
        const auto found = std::ranges::find_if(listed, [&identity](const ZVAdapterRecord& entry) {
            return std::memcmp(entry->NetCfgInstanceId, identity, sizeof identity) == 0;
        });
        if (found != listed.end())
            StoreStateFlags(**found, record->StateFlags);
    }
}

} // namespace

unsigned int CAdapterList::AnswerRequest(const _ZV_SRVC_DEVICE_LIST_REQ* request, _ZV_SRVC_DEVICE_LIST_RSP* result)
{
    if (request == nullptr || result == nullptr || request->Type != ZV_DEVICE_LIST_REQ_TAG ||
        request->Parameters == nullptr)
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    const _ZV_SRVC_DEVICE_FILTER& asked = *request->Parameters;
    const std::string_view text = FieldText(asked.FilterText);
    const std::string_view services = ServicesOf(text);
    ZV_TRACE(ListRequest, std::string(text), std::string(services));

    unsigned int status = ZV_SRVC_SUCCESS;
    if (CCached cached = FindCached(services); cached.List != nullptr)
    {
        ZV_TRACE(ListFromCache);
        status = AnswerFromCache(std::move(cached), *result);
    }
    else
    {
        // A new pattern text replaces the previous one: a host that lists again means its latest
        // pattern, not the sum of all its patterns.
        CAdapterFilter filter{std::string(services), SplitInstanceIdList(&asked.InstanceIdList[0])};
        TracePatterns(filter);
        status = Enumerate(std::move(filter), *result);
    }
    ZV_TRACE(ListResult, status, result->Length);
    return status;
}

CAdapterList::CCached CAdapterList::FindCached(std::string_view services) const
{
    const CScopedLock lock(ListLock);
    if (Records->empty() || Filter->ServiceFilter != services)
        return {};
    const bool isCurrent = Image != nullptr && Image->Of == Records && Image->Changes == RecordChanges();
    return {.List = Records, .Image = isCurrent ? Image : nullptr};
}

/// No lock is held for the copy: neither list nor image changes.
unsigned int CAdapterList::AnswerFromCache(CCached cached, _ZV_SRVC_DEVICE_LIST_RSP& result)
{
    if (!AcceptsSize(cached.List->size(), result))
        return ZV_SRVC_ERR_BUFFER_TOO_SMALL;
    if (cached.Image == nullptr)
        cached.Image = RenewImage(cached.List);
    auto* const to = reinterpret_cast<std::byte*>(result.Buffer); // Of any alignment.
    if (cached.Image != nullptr)
        std::memcpy(to, cached.Image->Bytes.data(), cached.Image->Bytes.size());
    else
        CopyRecords(*cached.List, to);
    return ZV_SRVC_SUCCESS;
}

/// @return the new image, or null when there is no memory for it.
std::shared_ptr<const CListImage> CAdapterList::RenewImage(const ZVRecordList& list)
{
    std::shared_ptr<const CListImage> image = MakeImage(list);
    std::shared_ptr<const CListImage> exchanged = image; // The previous image is freed after the lock.
    const CScopedLock lock(ListLock);
    Image.swap(exchanged);
    return image;
}

/// Enumerates with no lock held, since others may read the list meanwhile, and then replaces filter and
/// list in one step: a host gets the adapters of its own filter even if another thread lists with
/// another one at the same time. A sweep or a merge that has finished meanwhile may have newer findings
/// than this enumeration. So the devices are enumerated again; when that happens once more, the service
/// repeats the sweep or merge.
unsigned int CAdapterList::Enumerate(CAdapterFilter filter, _ZV_SRVC_DEVICE_LIST_RSP& result)
{
    // If an adapter disappeared after this enumeration but before the window receives messages, no event
    // would report it.
    CWinPwrEvtHandle::AwaitWindow();
    auto wanted = std::make_shared<const CAdapterFilter>(std::move(filter));
    for (int round = 1;; ++round)
    {
        const CListState before = Current();
        const auto found = std::make_shared<ZVAdapterRecords>();
        const unsigned int status = EnumDeviceToList(*wanted, *found);
        ZVRecordList exchanged = found; // Receives the previous list, which is destroyed after the lock.
        std::uint32_t missed = 0;
        {
            const CScopedLock lock(ListLock);
            if (status != ZV_SRVC_ERR_INVALID_PARAMETER)
            {
                missed = (SweepCount != before.Sweeps ? ZV_REPEAT_SWEEP : 0) |
                         (MergeCount != before.Merges ? ZV_REPEAT_MERGE : 0);
                if (missed != 0 && round < ZV_MAX_ROUNDS)
                    continue;
                ++RebuildCount;
                Records.swap(exchanged);
            }
            Filter.swap(wanted);
        }
        RequestRepeat(missed);
        return status == ZV_SRVC_SUCCESS ? CopyListOut(*found, result) : status;
    }
}

CListState CAdapterList::Current() const
{
    const CScopedLock lock(ListLock);
    return {.Filter = Filter, .Records = Records, .Rebuilds = RebuildCount, .Sweeps = SweepCount, .Merges = MergeCount};
}

ZVAdapterRecord CAdapterList::Find(std::string_view netCfgInstanceId) const
{
    const ZVRecordList listed = Current().Records;
    const auto found = std::ranges::find_if(*listed, [netCfgInstanceId](const ZVAdapterRecord& record) {
        return FieldText(record->NetCfgInstanceId) == netCfgInstanceId;
    });
    return found == listed->end() ? nullptr : *found;
}

bool CAdapterList::IsCurrent(const CListState& state) const
{
    const CScopedLock lock(ListLock);
    return RebuildCount == state.Rebuilds;
}

void CAdapterList::ApplySweep(std::span<const CRecordChange> changes) noexcept
{
    const CScopedLock lock(ListLock);
    ++SweepCount;
    for (const CRecordChange& change : changes)
        change.Apply();
}

bool CAdapterList::MarkAbsent(_ZV_SRVC_DEVICE_INFO& record, bool isPresent, const CListState& state)
{
    const CScopedLock lock(ListLock);
    return (!isPresent || RebuildCount == state.Rebuilds) && SetStateFlags(record, ZV_DEV_ABSENT);
}

bool CAdapterList::ApplyMerge(std::span<const CRecordChange> changes, ZVRecordList& longer, const CListState& state,
                              bool isForced) noexcept
{
    const CScopedLock lock(ListLock);
    const bool isCurrent = RebuildCount == state.Rebuilds;
    if (!isCurrent && !isForced)
        return false;
    ++MergeCount;
    for (const CRecordChange& change : changes)
        change.Apply();
    if (isCurrent && longer != nullptr)
        Records.swap(longer);
    return isCurrent;
}

void CAdapterList::Refresh(ZVAdapterRecords delivered)
{
    ZVRecordList fresh = std::make_shared<const ZVAdapterRecords>(std::move(delivered));
    const CScopedLock lock(ListLock);
    ++SweepCount;
    ++MergeCount;
    if (Records->empty())
        Records.swap(fresh);
    else
        RefreshFlags(*Records, *fresh);
}

void CAdapterList::RequestRepeat(std::uint32_t actions)
{
    if (actions == 0)
        return;
    Repeats |= actions;
    try
    {
        WakePwrEvtHandlers();
    }
    catch (const std::bad_alloc&)
    {
        return; // The actions are recorded; the next message of any kind has them carried out.
    }
}
