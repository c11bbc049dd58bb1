/// @file
/// The devices that a session has opened. Each adapter has one, which later lines use again. Called by the main
/// thread only.
#pragma once

#include <CDeviceIntf.h>

#include <memory>
#include <string_view>

namespace KeptDevices
{

/// Keeps the device that was opened last for an adapter. It can still enable the adapter after it was disabled,
/// when the library does not open it any more.
/// @param answered whether the driver answered when the device was opened.
void Keep(std::string_view identity, std::shared_ptr<CDeviceIntf> device, bool answered);

/// Returns the device of an adapter, or null.
std::shared_ptr<CDeviceIntf> Find(std::string_view identity);

/// Returns the device of an adapter if opening it again would make no difference; null otherwise. That is the case
/// while the adapter is usable and its record is equal to the one of the list.
/// @param listed the adapter's record in the list.
/// @param needsAnswer whether the driver must have answered when the device was opened.
std::shared_ptr<CDeviceIntf> FindUsable(const _ZV_SRVC_DEVICE_INFO& listed, bool needsAnswer);

} // namespace KeptDevices
