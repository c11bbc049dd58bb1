/// @file
/// Shows the library's trace while a command runs.
#pragma once

#include "TraceText.h"

/// Prints what the library traces on stderr, one line each, from now until the process ends.
/// Called before the library's first use, so that its bring-up shows too.
void StartTracePrinter(const TraceSettings& settings);
