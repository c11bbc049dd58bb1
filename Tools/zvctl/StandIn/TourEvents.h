/// @file
/// The tour's part in which something happens to the machine.
#pragma once

#include "TourSteps.h"

#include <CDeviceManagerIntf.h>

#include <memory>

/// Takes the device's adapter out and back in, disables, enables and uninstalls it, and puts the
/// machine to sleep in between; tells which events each step brings and what becomes of the flags.
/// A step that waits too long for its events has failed, and so has each behind it: they are left out.
void VisitEvents(TourSteps& steps, CDeviceManagerIntf& manager, std::shared_ptr<CDeviceIntf>& device);
