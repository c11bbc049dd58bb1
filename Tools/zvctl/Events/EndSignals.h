/// @file
/// Handles Ctrl-C and SIGTERM as a request to a command instead of the end of the process. On Windows
/// Ctrl-Break, which other processes can send, replaces SIGTERM.
#pragma once

#include "WakeSignal.h"

namespace EndSignals
{

/// Handles both until Release. A single command never releases them, so that a further signal during the
/// exit does not change the exit code.
/// @param wake set when a signal comes; must exist as long as the process handles signals.
void Take(WakeSignal& wake);

/// Gives the signals back to the system and forgets what came.
void Release();

/// Whether one came since Take.
bool Asked();

/// Whether a SIGTERM ever came: what follows the command is not wanted either.
bool Terminated();

} // namespace EndSignals
