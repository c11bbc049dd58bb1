#include "AdapterFilter.h"

#include <algorithm>

bool CAdapterFilter::MatchDeviceIdFilter(std::string_view instanceId) const
{
    return InstanceIdFilters.empty() || std::ranges::any_of(InstanceIdFilters, [&](const std::string& pattern) {
               return instanceId.find(pattern) != std::string_view::npos;
           });
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
