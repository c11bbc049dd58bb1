#include "AdapterFilter.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace
{

/// Filter names and the driver services that they select. The last letter of a service is the bus: u for
/// USB, s for SDIO, e for PCIE.
constexpr std::pair<std::string_view, std::string_view> FilterTable[] = {
    {"ZV_ALL", "zvlwlanu,zvwlanu,zvlwlans,zvwlans,zvlwlane,zvwlane"},
    {"ZV_USB", "zvlwlanu,zvwlanu"},
    {"ZV_SDIO", "zvlwlans,zvwlans"},
    {"ZV_PCIE", "zvlwlane,zvwlane"},
};

} // namespace

bool CAdapterFilter::MatchDeviceIdFilter(std::string_view instanceId) const
{
    return InstanceIdFilters.empty() || std::ranges::any_of(InstanceIdFilters, [&](const std::string& pattern) {
               return instanceId.find(pattern) != std::string_view::npos;
           });
}

std::string_view ServicesOf(std::string_view filterText)
{
    const auto* const row = std::ranges::find(FilterTable, filterText, [](const auto& entry) { return entry.first; });
    return row == std::end(FilterTable) ? filterText : row->second;
}

std::vector<std::string> SplitInstanceIdList(std::string_view text)
{
    if (text.empty())
        return {};
    std::vector<std::string> patterns;
    for (std::size_t begin = 0;;)
    {
        const std::size_t end = text.find(';', begin);
        patterns.emplace_back(text.substr(begin, end - begin));
        if (end == std::string_view::npos)
            return patterns;
        begin = end + 1;
    }
}
