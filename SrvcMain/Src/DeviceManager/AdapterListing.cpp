/// GetZVDeviceList: filters, and the two-call copy.

#include "CUWPDeviceManager.h"
#include "CWinPwrEvtHandle.h"
#include "TracePoint.h"

#include <cstddef>
#include <cstring>
#include <utility>

namespace
{

constexpr std::uint32_t RecordSize = sizeof(_ZV_SRVC_DEVICE_INFO);

void TracePatterns(const CAdapterFilter& filter)
{
    for (const std::string& pattern : filter.InstanceIdFilters)
        ZV_TRACE(ListPattern, pattern);
}

/// Copies count and records of one immutable state of the list.
unsigned int CopyListOut(const ZVAdapterRecords& list, _ZV_SRVC_DEVICE_LIST_RSP& result)
{
    const std::uint32_t needed = static_cast<std::uint32_t>(list.size()) * RecordSize;
    const bool fits = result.Buffer != nullptr && needed <= result.Length;
    result.Length = needed;
    if (!fits)
    {
        result.Type = ZV_DEVICE_LIST_RSP_TAG;
        return ZV_SRVC_ERR_BUFFER_TOO_SMALL;
    }
    auto* to = reinterpret_cast<std::byte*>(result.Buffer);
    for (const ZVAdapterRecord& record : list)
    {
        const _ZV_SRVC_DEVICE_INFO copy = CopyRecord(*record);
        std::memcpy(to, &copy, RecordSize);
        to += RecordSize;
    }
    return ZV_SRVC_SUCCESS;
}

} // namespace

unsigned int CUWPDeviceManager::GetZVDeviceList(const _ZV_SRVC_DEVICE_LIST_REQ* request,
                                                _ZV_SRVC_DEVICE_LIST_RSP* result)
{
    if (request == nullptr || result == nullptr || request->Type != ZV_DEVICE_LIST_REQ_TAG ||
        request->Parameters == nullptr)
        return ZV_SRVC_ERR_INVALID_PARAMETER;
    const _ZV_SRVC_DEVICE_FILTER& asked = *request->Parameters;
    const std::string text(FieldText(asked.FilterText));
    std::string services = ResolveServiceFilter(text);
    ZV_TRACE(ListRequest, text, services);

    unsigned int status = ZV_SRVC_SUCCESS;
    const CListState state = CurrentState();
    if (!state.Records->empty() && state.Filter->ServiceFilter == services)
    {
        ZV_TRACE(ListFromCache);
        status = CopyListOut(*state.Records, *result);
    }
    else
    {
        // A new pattern text replaces the previous one: a host that lists again means its latest
        // pattern, not the sum of all its patterns.
        CAdapterFilter filter{std::move(services), SplitInstanceIdList(&asked.InstanceIdList[0])};
        TracePatterns(filter);
        status = EnumerateAndAnswer(std::move(filter), *result);
    }
    ZV_TRACE(ListResult, status, result->Length);
    return status;
}

std::string CUWPDeviceManager::ResolveServiceFilter(const std::string& text) const
{
    std::string services = FilterTable.Get(text);
    return services.empty() ? text : services;
}

CUWPDeviceManager::CListState CUWPDeviceManager::CurrentState()
{
    const CScopedLock lock(FilterLock);
    return {Filter, DeviceList.Get(), RebuildCount, SweepCount, MergeCount};
}

/// Enumerates outside the list, since others may read it meanwhile, and then puts filter and list in place
/// in one step: what this host gets is what it asked for, even when another thread lists with another
/// filter at the same time. Enumerates a second time when a sweep or a merge has finished meanwhile, whose
/// findings may be younger than this enumeration; when that happens again, the service repeats them.
unsigned int CUWPDeviceManager::EnumerateAndAnswer(CAdapterFilter filter, _ZV_SRVC_DEVICE_LIST_RSP& result)
{
    // If an adapter disappeared after this enumeration but before the window receives messages, no event
    // would report it.
    CWinPwrEvtHandle::AwaitWindow();
    auto wanted = std::make_shared<const CAdapterFilter>(std::move(filter));
    for (int round = 1;; ++round)
    {
        const CListState before = CurrentState();
        const auto found = std::make_shared<ZVAdapterRecords>();
        const unsigned int status = EnumDeviceToList(*wanted, *found);
        CAdapterList::CState exchanged = found;
        std::uint32_t missed = 0;
        {
            const CScopedLock lock(FilterLock);
            if (status != ZV_SRVC_ERR_INVALID_PARAMETER)
            {
                missed = (SweepCount != before.Sweeps ? ZV_AGAIN_SWEEP : 0) |
                         (MergeCount != before.Merges ? ZV_AGAIN_MERGE : 0);
                if (missed != 0 && round < ZV_MAX_ROUNDS)
                    continue;
                ++RebuildCount;
                DeviceList.Swap(exchanged);
            }
            Filter.swap(wanted);
        }
        LookAgain(missed);
        return status == ZV_SRVC_SUCCESS ? CopyListOut(*found, result) : status;
    }
}
