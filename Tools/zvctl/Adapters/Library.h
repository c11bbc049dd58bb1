/// @file
/// The library as plain function calls: one manager for the session, and its adapters.
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

/// Enables or disables the adapter of a device.
/// @throws Failure
void SetAdapterEnabled(std::shared_ptr<CDeviceIntf>& device, bool enable);
