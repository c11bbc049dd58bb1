#include "ModuleLoading.h"

#include "Errors.h"
#include "ModuleTable.h"
#include "PublishedCall.h"

#include <dlfcn.h>
#include <link.h>

#include <filesystem>
#include <string_view>

using namespace Platform;

namespace
{

std::string ResolveName(std::string_view name)
{
    std::error_code ignored;
    if (name.find('/') == std::string_view::npos)
    {
        const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
        for (const auto& folder : {program, std::filesystem::path(".")})
        {
            const auto file = folder / name;
            if (std::filesystem::exists(file, ignored))
            {
                return file.string();
            }
        }
    }
    return std::string(name);
}

const link_map* MapOf(void* module)
{
    link_map* map = nullptr;
    return dlinfo(module, RTLD_DI_LINKMAP, &map) == 0 ? map : nullptr;
}

const link_map* MapOfAddress(const void* address)
{
    Dl_info info{};
    void* map = nullptr;
    return dladdr1(address, &info, &map, RTLD_DL_LINKMAP) != 0 ? static_cast<const link_map*>(map) : nullptr;
}

// The loader would also search what the module depends on.
void* OwnExport(void* module, const char* name)
{
    void* symbol = dlsym(module, name);
    return symbol != nullptr && MapOfAddress(symbol) == MapOf(module) ? symbol : nullptr;
}

} // namespace

HMODULE LoadLibraryA(const char* name)
{
    if (CallFails("LoadLibraryA"))
    {
        return nullptr;
    }
    void* loaded =
        name != nullptr && *name != '\0' ? dlopen(ResolveName(name).c_str(), RTLD_NOW | RTLD_LOCAL) : nullptr;
    if (loaded == nullptr)
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    return ModuleTable::Instance().Add(loaded, false);
}

FARPROC GetProcAddress(HMODULE module, const char* name)
{
    if (CallFails("GetProcAddress"))
    {
        return nullptr;
    }
    if (module != nullptr && !ModuleTable::Instance().Contains(module))
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    // The program's own handle stays good when its reference is given back.
    void* program = module == nullptr ? dlopen(nullptr, RTLD_NOW) : nullptr;
    void* symbol = OwnExport(module != nullptr ? module : program, name);
    if (program != nullptr)
    {
        dlclose(program);
    }
    if (symbol == nullptr)
    {
        SetLastError(ERROR_PROC_NOT_FOUND);
    }
    return reinterpret_cast<FARPROC>(symbol);
}

BOOL FreeLibrary(HMODULE module)
{
    if (CallFails("FreeLibrary"))
    {
        return FALSE;
    }
    if (module == nullptr)
    {
        return FailWith(ERROR_INVALID_HANDLE);
    }
    return ModuleTable::Instance().Release(module) ? TRUE : FailWith(ERROR_MOD_NOT_FOUND);
}

BOOL GetModuleHandleExW(DWORD flags, const WCHAR* nameOrAddress, HMODULE* module)
{
    if (CallFails("GetModuleHandleExW"))
    {
        return FALSE;
    }
    const bool pin = (flags & GET_MODULE_HANDLE_EX_FLAG_PIN) != 0;
    if (module == nullptr || (flags & ~GET_MODULE_HANDLE_EX_FLAG_PIN) != GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS)
    {
        return FailWith(ERROR_INVALID_PARAMETER);
    }
    *module = nullptr;
    const link_map* map = MapOfAddress(nameOrAddress);
    if (map == nullptr)
    {
        return FailWith(ERROR_MOD_NOT_FOUND);
    }
    const char* name = *map->l_name != '\0' ? map->l_name : nullptr; // the program itself has no name
    void* loaded = dlopen(name, RTLD_NOW | RTLD_NOLOAD | (pin ? RTLD_NODELETE : 0));
    if (loaded == nullptr)
    {
        return FailWith(ERROR_MOD_NOT_FOUND);
    }
    *module = ModuleTable::Instance().Add(loaded, pin);
    return TRUE;
}
