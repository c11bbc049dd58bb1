/// @file
/// The messages that windows receive when a machine changes. The functions return when each window has handled its
/// messages; a window that does not respond delays each message by 5 seconds.
#pragma once

#include "Machine.h"

#include <cstdint>

namespace Platform
{

/// Returns whether the adapter's interface exists, which is only while the driver of its device runs.
bool IsUp(const AdapterDescription& adapter);

/// Sends what Windows sends when an adapter changes in this way.
void SendAdapterMessages(const AdapterDescription& before, const AdapterDescription& after);

/// Sends the query of an orderly removal. Returns false if a window denies it; windows that agreed before are then
/// notified that the removal is off.
bool SendRemovalQuery(const AdapterDescription& adapter);

/// Sends an event of the adapter's interface to the windows registered for it. Their answers do not count.
void SendInterfaceMessage(const AdapterDescription& adapter, std::uint32_t event);

/// Sends a message to every top-level window.
void SendToAllWindows(std::uint32_t message, std::uint64_t wParam);

} // namespace Platform
