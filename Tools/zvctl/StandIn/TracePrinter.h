/// @file
/// Prints the library's trace while a command runs.
#pragma once

#include "TraceText.h"

/// Prints the library's trace messages to stderr, one line each, until the process exits. Called before the first
/// use of the library, so that its start is printed too.
void StartTracePrinter(const TraceSettings& settings);
