/// @file
/// All published names of the stand-in.
#pragma once

#include "DeviceSetup.h"
#include "Errors.h"
#include "EventTrace.h"
#include "ModuleLoading.h"
#include "Registry.h"
#include "WinTypes.h"
