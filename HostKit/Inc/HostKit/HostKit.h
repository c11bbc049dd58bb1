/// @file
/// All helpers for hosts. The helpers for tests of hosts are in HostKit/Testing.h.
///
/// HostKit is header-only, uses only the public headers of the library and the C++ standard library, and adds no
/// thread. Link the CMake target `ZVUWPSrvcLib::HostKit`.
#pragma once

#include "Adapters.h"
#include "Device.h"
#include "Events.h"
#include "HexDump.h"
#include "Requests.h"
#include "Status.h"
