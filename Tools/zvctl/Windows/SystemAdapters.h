/// @file
/// The network adapters of Windows.
#pragma once

#include "AdapterFacts.h"

#include <vector>

/// Returns the devices of the network class, including those that are not plugged in.
/// @throws std::system_error if Windows cannot list them.
std::vector<AdapterFacts> SystemAdapterFacts();
