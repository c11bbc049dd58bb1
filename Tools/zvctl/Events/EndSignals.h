/// @file
/// Ctrl-C and SIGTERM as a request to a command, not as the end of the process. On Windows Ctrl-Break,
/// which other processes can send, stands for SIGTERM.
#pragma once

#include "WakeSignal.h"

namespace EndSignals
{

/// Takes both until Release. A command of its own never releases them, so that one that
/// comes once more while the process ends does not spoil its exit code.
/// @param wake set when a signal comes; outlives the process's use of signals.
void Take(WakeSignal& wake);

/// Gives the signals back to the system and forgets what came.
void Release();

/// Whether one came since Take.
bool Asked();

/// Whether a SIGTERM ever came: what follows the command is not wanted either.
bool Terminated();

} // namespace EndSignals
