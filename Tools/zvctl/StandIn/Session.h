/// @file
/// Installs the machine that the library works on.
#pragma once

#include <string>

/// JSON text of the default machine.
extern const char DefaultMachineText[];

/// Installs the machine for the rest of the process: `file` unless it is empty, otherwise the file that
/// the environment variable ZV_MACHINE names, otherwise the built-in machine. Called once, before the
/// library's first use.
/// @throws UsageError for an error in the file.
void InstallMachine(const std::string& file);

/// Returns where the installed machine comes from: "machine file FILE" or "built-in machine".
const std::string& MachineSource();
