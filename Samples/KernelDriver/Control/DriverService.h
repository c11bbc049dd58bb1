/// @file
/// The kernel-mode driver as a service of Windows. Functions throw Failure.
#pragma once

#include <string>

enum class DriverState
{
    NotInstalled,
    Stopped,
    Running,
    Changing ///< Starting, or stopping until the last handle is closed.
};

/// Registers the driver, or changes its file, which the next start loads.
void InstallDriver(const std::string& file);

/// Loads the driver. Succeeds if it is running.
void StartDriver();

/// Unloads the driver, waiting up to 10 s. Succeeds if it is stopped.
void StopDriver();

/// Stops the driver and deletes its registration. Succeeds if it is not installed.
void UninstallDriver();

/// Requires no administrator rights.
DriverState QueryDriver();
