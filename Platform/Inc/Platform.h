/// @file
/// All published names of the stand-in.
#pragma once

#include "DeviceIo.h"
#include "DeviceSetup.h"
#include "Errors.h"
#include "EventTrace.h"
#include "Messages.h"
#include "ModuleLoading.h"
#include "Registry.h"
#include "Waiting.h"
#include "WinTypes.h"
#include "Windowing.h"
