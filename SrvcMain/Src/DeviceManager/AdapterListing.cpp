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
    if (AnswerFromList(services, *result, status))
        ZV_TRACE(ListFromCache);
    else
    {
        // A new pattern text takes the place of the held one: a host that asks anew means what it
        // says now, not that and everything it ever said.
        const CAdapterFilter filter{std::move(services), SplitInstanceIdList(&asked.InstanceIdList[0])};
        TracePatterns(filter);
        status = EnumerateAndAnswer(filter, *result);
    }
    ZV_TRACE(ListResult, status, result->Length);
    return status;
}

std::string CUWPDeviceManager::ResolveServiceFilter(const std::string& text) const
{
    std::string services = FilterTable.Get(text);
    return services.empty() ? text : services;
}

/// Answers from the list if it holds adapters of this filter.
bool CUWPDeviceManager::AnswerFromList(const std::string& serviceFilter, _ZV_SRVC_DEVICE_LIST_RSP& result,
                                       unsigned int& status)
{
    const CScopedLock lock(FilterLock);
    if (DeviceList.Size() == 0 || Filter.ServiceFilter != serviceFilter)
        return false;
    status = CopyListOut(result);
    return true;
}

/// Enumerates beside the list, since others may read it meanwhile, and then puts filter and list in
/// place and copies out in one step: what this host gets is what it asked for, even when another
/// thread lists with another filter at the same time. Enumerates again when the service has looked
/// through the list meanwhile: its news may be younger than this walk, and must not be lost.
unsigned int CUWPDeviceManager::EnumerateAndAnswer(const CAdapterFilter& filter, _ZV_SRVC_DEVICE_LIST_RSP& result)
{
    // An adapter that goes between this walk and the window's first message would never be missed.
    CWinPwrEvtHandle::AwaitWindow();
    for (;;)
    {
        const std::uint64_t before = Maintenances();
        CAdapterList found;
        const unsigned int status = EnumDeviceToList(filter, found);
        CAdapterList::CList records = found.With([](CAdapterList::CList& list) { return std::exchange(list, {}); });

        const CScopedLock lock(FilterLock);
        if (MaintenanceCount != before)
            continue;
        ++RebuildCount;
        Filter = filter;
        if (status != ZV_SRVC_ERR_INVALID_PARAMETER)
            DeviceList.Replace(std::move(records));
        return status == ZV_SRVC_SUCCESS ? CopyListOut(result) : status;
    }
}

std::uint64_t CUWPDeviceManager::Maintenances()
{
    const CScopedLock lock(FilterLock);
    return MaintenanceCount;
}

/// Count and records are of one state of the list, whose lock is held across the copy.
unsigned int CUWPDeviceManager::CopyListOut(_ZV_SRVC_DEVICE_LIST_RSP& result)
{
    return DeviceList.With([&result](const CAdapterList::CList& list) -> unsigned int {
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
    });
}
