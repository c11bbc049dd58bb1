#include "AdapterQuery.h"

#include "Errors.h"

#include <algorithm>
#include <stdexcept>

namespace
{

/// Adapters come one at a time; a list that outgrows its answer this often is not worth waiting for.
constexpr int MaxRounds = 16;

} // namespace

AdapterQuery::AdapterQuery(std::string_view filter, std::string_view instancePatterns)
    : Filter(offsetof(_ZV_SRVC_DEVICE_FILTER, InstanceIdList) + instancePatterns.size() + 1)
{
    if (filter.size() >= ZV_FILTER_TEXT_SIZE)
        throw std::length_error("the filter text is longer than 49 characters");
    std::ranges::copy(filter, Filter.data());
    std::ranges::copy(instancePatterns, Filter.data() + offsetof(_ZV_SRVC_DEVICE_FILTER, InstanceIdList));
}

std::vector<_ZV_SRVC_DEVICE_INFO> AdapterQuery::Run(CDeviceManagerIntf& manager) const
{
    const _ZV_SRVC_DEVICE_LIST_REQ request = {ZV_DEVICE_LIST_REQ_TAG, 0,
                                              reinterpret_cast<const _ZV_SRVC_DEVICE_FILTER*>(Filter.data())};
    _ZV_SRVC_DEVICE_LIST_RSP result = {};
    std::vector<_ZV_SRVC_DEVICE_INFO> adapters;
    unsigned int status = manager.GetZVDeviceList(&request, &result);
    for (int round = 0; status == ZV_SRVC_ERR_BUFFER_TOO_SMALL && round < MaxRounds; ++round)
    {
        // One more than needed: for an empty list the buffer would be null, which asks for the size again.
        adapters.resize(result.Length / sizeof(_ZV_SRVC_DEVICE_INFO) + 1);
        result.Buffer = adapters.data();
        status = manager.GetZVDeviceList(&request, &result);
    }
    Require("GetZVDeviceList", status);
    adapters.resize(result.Length / sizeof(_ZV_SRVC_DEVICE_INFO));
    return adapters;
}
