#include "DriverModule.h"

#include "ModuleTable.h"

#include <dlfcn.h>

#include <array>
#include <filesystem>

namespace Platform
{

namespace
{

constexpr const char* ExportName = "CreateControlDevice";

std::string FileOf(const std::string& folder, const std::string& module)
{
    const std::filesystem::path beside = std::filesystem::path(folder) / module;
    std::error_code ignored;
    // With the folder, because the loader searches its own path for a bare name.
    return !folder.empty() && std::filesystem::exists(beside, ignored) ? beside.string() : ModuleFile(module);
}

CreateControlDeviceFunction LoadMaker(const std::string& folder, const std::string& module)
{
    // Never unloaded: threads of the driver may run until the process ends.
    void* loaded = dlopen(FileOf(folder, module).c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (loaded == nullptr)
        throw DriverModuleError("cannot be loaded: " + std::string(dlerror()));
    void* maker = OwnExport(loaded, ExportName);
    if (maker == nullptr)
        throw DriverModuleError('"' + module + "\" exports no " + ExportName);
    return reinterpret_cast<CreateControlDeviceFunction>(maker);
}

} // namespace

std::shared_ptr<ControlDevice> MakeControlDevice(const std::string& folder, const std::string& module,
                                                 const std::string& deviceName, const std::string& settings)
{
    const CreateControlDeviceFunction make = LoadMaker(folder, module);
    std::array<char, 512> error{};
    // The driver's module frees the object: its destructor is virtual and the module stays loaded.
    std::shared_ptr<ControlDevice> device(make(deviceName.c_str(), settings.c_str(), error.data(), error.size()));
    if (!device)
    {
        error.back() = '\0'; // the driver may have filled the buffer
        throw DriverModuleError("makes no device: " + std::string(error.data()));
    }
    return device;
}

} // namespace Platform
