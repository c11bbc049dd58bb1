/// @file
/// From what a user calls an adapter to an open device.
#pragma once

#include <CDeviceManagerIntf.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// What an adapter can be called.
struct AdapterName
{
    std::string Identity;
    std::string Name;
};

/// Finds the one that a text means: digits alone are an index; otherwise its whole identity or
/// name, or else a part of either, in which case does not matter.
/// @throws std::runtime_error that names the candidates when none or several fit.
std::size_t ChooseName(const std::vector<AdapterName>& adapters, std::string_view text);

/// The same among listed adapters.
const _ZV_SRVC_DEVICE_INFO& ChooseAdapter(const std::vector<_ZV_SRVC_DEVICE_INFO>& adapters, std::string_view text);

/// Whether a command can do its work with a driver that does not answer.
enum class DriverNeed
{
    Answers,  ///< Without an answer the device counts as not opened.
    Optional, ///< The driver receives no request.
};

/// Opens an adapter. The session keeps the device.
struct OpenAdapter
{
    /// @throws std::runtime_error as ChooseAdapter, OperationFailed
    explicit OpenAdapter(std::string_view text, DriverNeed need = DriverNeed::Answers);

    std::shared_ptr<CDeviceManagerIntf> Manager;
    _ZV_SRVC_DEVICE_INFO Record; ///< As it was listed.
    std::shared_ptr<CDeviceIntf> Device;
};
