/// @file
/// Switching an adapter as a plain function call.
#pragma once

#include <CDeviceManagerIntf.h>

#include <memory>

/// Enables or disables a device's adapter.
/// @throws OperationFailed; std::runtime_error that names the system's error number.
void ChangeNicState(CDeviceManagerIntf& manager, std::shared_ptr<CDeviceIntf>& device, bool enable);
