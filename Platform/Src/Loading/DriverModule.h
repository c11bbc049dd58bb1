/// @file
/// Control devices that loadable drivers create.
#pragma once

#include "ControlDevice.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace Platform
{

/// `what()` says why a module created no device.
class DriverModuleError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Returns the file that MakeControlDevice would load; the name itself if it is found by the loader only.
std::string ModulePath(const std::string& folder, const std::string& module);

/// Loads a driver, which stays loaded until the process ends, and has it create a device.
/// @param folder is searched for the module first; empty for none.
/// @param settings JSON text.
/// @throws DriverModuleError
std::shared_ptr<ControlDevice> MakeControlDevice(const std::string& folder, const std::string& module,
                                                 const std::string& deviceName, const std::string& settings);

} // namespace Platform
