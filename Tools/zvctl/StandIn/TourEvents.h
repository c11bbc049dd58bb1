/// @file
/// The part of the tour that changes the machine.
#pragma once

#include "TourSteps.h"

#include <CDeviceIntf.h>

#include <memory>

/// Unplugs the device's adapter and plugs it in, disables, enables and uninstalls it, and suspends the
/// machine in between. Prints the events and flags of each step. A step that waits too long for its events
/// fails; the steps after it are skipped.
void VisitEvents(TourSteps& steps, std::shared_ptr<CDeviceIntf>& device);
