/// @file
/// The library as plain function calls: one manager for the session, its adapters and the devices it opened.
/// All functions are called by the main thread only.
#pragma once

#include <CDeviceManagerIntf.h>

#include <memory>
#include <string_view>
#include <vector>

/// Returns the session's manager. All commands share one, because the service keeps every manager until the
/// process exits. @throws OperationFailed
std::shared_ptr<CDeviceManagerIntf> SessionManager();

/// Lists the adapters that pass a filter.
/// @param filter a filter name or a text of service names, at most 49 characters.
/// @param instancePatterns patterns separated by ";"; empty for no restriction.
/// @return the adapters in the order of the library; never empty.
/// @throws std::length_error for a longer filter; OperationFailed, even if no adapter passes.
std::vector<_ZV_SRVC_DEVICE_INFO> ListAdapters(std::string_view filter = "ZV_ALL",
                                               std::string_view instancePatterns = "");

/// Lists all adapters. Returns an empty list if there is none. @throws OperationFailed
std::vector<_ZV_SRVC_DEVICE_INFO> ListAllOrNone();

/// Keeps the device that was opened last for an adapter. It can still enable the adapter after it was disabled,
/// when the library does not open it any more.
void KeepDevice(std::string_view identity, std::shared_ptr<CDeviceIntf> device);

/// Returns the device that is kept for an adapter, or null.
std::shared_ptr<CDeviceIntf> KeptDevice(std::string_view identity);

/// Enables or disables the adapter of a device.
/// @throws OperationFailed; std::runtime_error with the error number of Windows.
void SetAdapterEnabled(std::shared_ptr<CDeviceIntf>& device, bool enable);
