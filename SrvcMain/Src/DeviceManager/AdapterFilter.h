/// @file
/// Which adapters an enumeration accepts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct CAdapterFilter
{
    /// Driver service names in one text. An adapter passes when the name of its service is a part of this
    /// text; the text is never split.
    std::string ServiceFilter;
    /// Instance-ID patterns; empty for no restriction.
    std::vector<std::string> InstanceIdFilters;

    bool MatchService(std::string_view service) const { return ServiceFilter.find(service) != std::string::npos; }
    bool MatchDeviceIdFilter(std::string_view instanceId) const;
};

/// Returns the driver services that a filter name such as "ZV_USB" selects. Any other text is returned
/// itself, because a host may name services directly.
std::string_view ServicesOf(std::string_view filterText);

/// Cuts a text at every ";", empty runs included. An empty text gives no pattern at all.
std::vector<std::string> SplitInstanceIdList(std::string_view text);
