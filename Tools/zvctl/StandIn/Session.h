/// @file
/// The machine that the library is going to see.
#pragma once

#include <string>

/// JSON text of the default machine.
extern const char DefaultMachineText[];

/// Installs the machine for the rest of the process: the file when there is one, otherwise what the
/// environment variable ZV_MACHINE names, otherwise the built-in machine. Called once, before the
/// library's first use.
/// @throws UsageError for an error in the file.
void InstallMachine(const std::string& file);
