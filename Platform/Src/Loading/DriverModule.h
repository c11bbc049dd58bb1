/// @file
/// Control devices that loadable drivers make.
#pragma once

#include "ControlDevice.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace Platform
{

/// Why a module gave no device.
class DriverModuleError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Loads a driver, which stays for the life of the process, and has it make a device.
/// @param folder where the module is looked for first; empty for none.
/// @param settings JSON text.
/// @throws DriverModuleError
std::shared_ptr<ControlDevice> MakeControlDevice(const std::string& folder, const std::string& module,
                                                 const std::string& deviceName, const std::string& settings);

} // namespace Platform
