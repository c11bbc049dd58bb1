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

/// Its address identifies the file that contains the stand-in.
const char standInAnchor = 0;

/// Searches the folder of the machine file, then like LoadLibraryA, then where the stand-in is installed: a host of
/// an installed library may be in any folder.
std::string FileOf(const std::string& folder, const std::string& module)
{
    std::error_code ignored;
    const auto exists = [&](const std::filesystem::path& file) { return std::filesystem::exists(file, ignored); };
    // With the folder, because the loader searches its own path for a bare name.
    if (const auto file = std::filesystem::path(folder) / module; !folder.empty() && exists(file))
        return file.string();
    if (std::string found = ModuleFile(module); found != module)
        return found;
    const auto own = std::filesystem::path(MapOfAddress(&standInAnchor)->l_name).parent_path();
    for (const auto& place : {own, own / ZV_DRIVER_FOLDER})
        if (const auto file = place / module; exists(file))
            return file.string();
    return module;
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

std::string ModulePath(const std::string& folder, const std::string& module)
{
    const std::string file = FileOf(folder, module);
    std::error_code ignored;
    return std::filesystem::exists(file, ignored) ? std::filesystem::absolute(file).string() : file;
}

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

std::shared_ptr<ControlDevice> LoadControlDevice(const std::string& module, const std::string& deviceName,
                                                 const std::string& settings)
{
    return MakeControlDevice("", module, deviceName, settings);
}

} // namespace Platform
