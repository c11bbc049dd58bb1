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

/// Returns the file with its folder, because the loader searches its own path for a bare name. Empty if there is none.
std::string FileIn(const std::filesystem::path& folder, const std::string& module)
{
    std::error_code ignored;
    const std::filesystem::path file = folder / module;
    return !folder.empty() && std::filesystem::exists(file, ignored) ? file.string() : "";
}

/// The folder of the stand-in itself, where an installation has the drivers.
std::filesystem::path LibraryFolder()
{
    const link_map* const self = MapOfAddress(ExportName);
    return self != nullptr ? std::filesystem::path(self->l_name).parent_path() : std::filesystem::path();
}

std::string FileOf(const std::string& folder, const std::string& module)
{
    if (std::string file = FileIn(folder, module); !file.empty())
        return file;
    std::string file = ModuleFile(module);
    if (file != module)
        return file;
    std::string installed = FileIn(LibraryFolder(), module);
    return installed.empty() ? file : installed;
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

std::shared_ptr<ControlDevice> LoadControlDevice(const std::string& module, const std::string& deviceName,
                                                 const std::string& settings)
{
    return MakeControlDevice("", module, deviceName, settings);
}

} // namespace Platform
