#include "ModuleFile.h"

#include <dlfcn.h>

#include <filesystem>

namespace Platform
{

namespace
{

const link_map* MapOf(void* module)
{
    link_map* map = nullptr;
    return dlinfo(module, RTLD_DI_LINKMAP, static_cast<void*>(&map)) == 0 ? map : nullptr;
}

} // namespace

std::string ModuleFile(std::string_view name)
{
    std::error_code ignored;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
    for (const auto& folder : {program, std::filesystem::path(".")})
    {
        const auto file = folder / name; // an absolute name stays as it is
        if (std::filesystem::exists(file, ignored))
            return file.string();
    }
    return std::string(name);
}

const link_map* MapOfAddress(const void* address)
{
    Dl_info info{};
    void* map = nullptr;
    return dladdr1(address, &info, &map, RTLD_DL_LINKMAP) != 0 ? static_cast<const link_map*>(map) : nullptr;
}

void* OwnExport(void* module, const char* name)
{
    void* symbol = dlsym(module, name);
    return symbol != nullptr && MapOfAddress(symbol) == MapOf(module) ? symbol : nullptr;
}

} // namespace Platform
