/// @file
/// What an enumeration lets through.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct CAdapterFilter
{
    /// Driver service names in one text. An adapter passes when its service occurs in it; the text
    /// is never split.
    std::string ServiceFilter;
    /// Instance-ID patterns; empty for no restriction.
    std::vector<std::string> InstanceIdFilters;

    bool MatchService(std::string_view service) const { return ServiceFilter.find(service) != std::string::npos; }
    bool MatchDeviceIdFilter(std::string_view instanceId) const;
};

/// Cuts a text at every ";", empty runs included. An empty text gives no pattern at all.
std::vector<std::string> SplitInstanceIdList(std::string_view text);
