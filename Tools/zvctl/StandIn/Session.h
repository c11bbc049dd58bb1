/// @file
/// Installs the machine that the library works on.
#pragma once

#include <string>

/// JSON text of the default machine.
extern const char DefaultMachineText[];

/// Installs the machine for the rest of the process: `file` unless it is empty, otherwise what the environment variable
/// ZV_MACHINE names, otherwise the built-in machine. Called once, before the library's first use.
/// @param file a machine file, or "unix:PATH" for the machine of a server.
/// @throws UsageError for an error in the file, and if no server answers.
void InstallMachine(const std::string& file);

/// Returns where the installed machine comes from: "machine file FILE", "shared machine unix:PATH" or "built-in
/// machine".
const std::string& MachineSource();

/// Returns whether another process owns the installed machine.
bool MachineIsShared();

/// Returns the socket of that process.
const std::string& SharedMachinePath();
