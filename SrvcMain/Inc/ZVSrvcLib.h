/// @file
/// Everything a host needs, in one include.
#pragma once

#include "CDeviceIntf.h"
#include "CDeviceManagerIntf.h"
#include "CreateZVModule.h"
#include "ZVDeviceInfo.h"
#include "ZVEvents.h"
#include "ZVRequests.h"
#include "ZVStatus.h"
#include "ZVTraceMessages.h"
#include "ZVVersion.h"
