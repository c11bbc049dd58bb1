/// @file
/// Ctrl-C and SIGTERM as a request to a command, not as the end of the process.
#pragma once

namespace EndSignals
{

/// Takes SIGINT and SIGTERM until Release. A command of its own never releases them, so that one that
/// comes once more while the process ends does not spoil its exit code.
/// @param wakeFd an eventfd that counts up when a signal comes, and so ends a poll on it.
void Take(int wakeFd);

/// Gives the signals back to the system and forgets what came.
void Release();

/// Whether a signal came since Take.
bool Asked();

/// Whether a SIGTERM ever came: what follows the command is not wanted either.
bool Terminated();

} // namespace EndSignals
