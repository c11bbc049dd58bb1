/// @file
/// Finds the adapter that a user names, and opens it.
#pragma once

#include <CDeviceManagerIntf.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// The texts that select an adapter.
struct AdapterName
{
    std::string Identity;
    std::string Name;
};

/// Returns the index of the adapter that `text` selects: digits are its index; any other text is its complete
/// identity or name, or otherwise a part of either, case-insensitive.
/// @throws Failure that lists the candidates unless exactly one matches.
std::size_t ChooseName(const std::vector<AdapterName>& adapters, std::string_view text);

/// Returns the record of the adapter that `text` selects, as ChooseName.
const _ZV_SRVC_DEVICE_INFO& ChooseAdapter(const std::vector<_ZV_SRVC_DEVICE_INFO>& adapters, std::string_view text);

/// Whether a command requires a driver that answers.
enum class DriverNeed
{
    Answers,  ///< Opening fails if the driver does not answer.
    Optional, ///< The command sends no request to the driver.
};

/// Returns the listed adapters. @throws OperationFailed with a remedy if there is none.
std::vector<_ZV_SRVC_DEVICE_INFO> ListSomeAdapters();

/// Opens an adapter even if it is open. A session keeps the device for its later lines; see KeptDevices.h.
/// @param remedy replaces the usual one of a failure, unless it is empty.
/// @throws OperationFailed
std::shared_ptr<CDeviceIntf> OpenAgain(const _ZV_SRVC_DEVICE_INFO& record, DriverNeed need,
                                       const std::string& remedy = "");

/// An open adapter. Uses the device of an earlier line if possible.
struct OpenAdapter
{
    /// @param remedy as for OpenAgain.
    /// @throws Failure
    explicit OpenAdapter(std::string_view text, DriverNeed need = DriverNeed::Answers, const std::string& remedy = "");

    _ZV_SRVC_DEVICE_INFO Record; ///< From the list.
    std::shared_ptr<CDeviceIntf> Device;
};
