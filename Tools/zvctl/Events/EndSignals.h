/// @file
/// Handles Ctrl-C and SIGTERM as a request to a command instead of the end of the process. On Windows
/// Ctrl-Break, which other processes can send, replaces SIGTERM.
#pragma once

#include "WakeSignal.h"

namespace EndSignals
{

/// Handles both until Release. A single command never releases them, so that a further signal during the
/// exit does not change the exit code.
/// @param wake set by a signal; must exist until the process exits.
void Take(WakeSignal& wake);

/// Restores the default handling and forgets earlier signals, except for Terminated().
void Release();

/// Returns whether a signal has arrived since Take.
bool Asked();

/// Returns whether a SIGTERM has ever arrived, which ends a session too.
bool Terminated();

} // namespace EndSignals
