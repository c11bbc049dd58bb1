/// @file
/// What a session has of the library: one manager, and the devices that it has opened.
#pragma once

#include <CDeviceManagerIntf.h>

#include <memory>
#include <string_view>
#include <vector>

/// The session's manager, made at the first call. The service keeps every manager for ever, so one
/// serves all commands. @throws OperationFailed
std::shared_ptr<CDeviceManagerIntf> SessionManager();

/// All adapters of every bus, in the order of the list; none when there is none. @throws OperationFailed
std::vector<_ZV_SRVC_DEVICE_INFO> ListAll();

/// Keeps the last device opened for an adapter: it can still enable the adapter after a disable, when the
/// adapter cannot be opened any more. Main thread only.
void KeepDevice(std::string_view identity, std::shared_ptr<CDeviceIntf> device);

/// The device that is kept for an adapter, or null.
std::shared_ptr<CDeviceIntf> KeptDevice(std::string_view identity);
