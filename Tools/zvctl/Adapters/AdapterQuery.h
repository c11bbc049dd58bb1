/// @file
/// Listing adapters as a plain function call.
#pragma once

#include <CDeviceManagerIntf.h>

#include <string_view>
#include <vector>

/// One question to GetZVDeviceList, asked as often as needed.
class AdapterQuery
{
public:
    /// @param filter a filter name or a text of service names, at most 49 characters.
    /// @param instancePatterns patterns separated by ";"; empty for no restriction.
    /// @throws std::length_error for a longer filter.
    AdapterQuery(std::string_view filter, std::string_view instancePatterns);

    /// Asks for the size, then for the records, and once more when the list grew in between.
    /// @return the adapters, in the order of the list; never empty.
    /// @throws OperationFailed
    std::vector<_ZV_SRVC_DEVICE_INFO> Run(CDeviceManagerIntf& manager) const;

private:
    std::vector<char> Filter; ///< A `_ZV_SRVC_DEVICE_FILTER` with its whole pattern text.
};
