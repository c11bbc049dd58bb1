/// @file
/// The named events of the process.
#pragma once

#include <string_view>

namespace Platform
{

/// Sets or resets the event of that name. Does nothing if no handle on it is open. Waits for nothing.
void ChangeNamedEvent(std::string_view name, bool signalled);

/// Sets or resets an event for every process of the current machine; the machine implements this (CurrentMachine.cpp).
/// @return false if its server cannot be reached.
bool ShareNamedEvent(std::string_view name, bool signalled);

} // namespace Platform
