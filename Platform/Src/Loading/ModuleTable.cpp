#include "ModuleTable.h"

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
    // The published search order: the program's folder, the current folder, then the loader's path.
    std::error_code ignored;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
    for (const auto& folder : {program, std::filesystem::path(".")})
    {
        const auto file = folder / name; // an absolute name replaces the folder
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
    // dlsym searches the dependencies too; GetProcAddress does not.
    void* symbol = dlsym(module, name);
    return symbol != nullptr && MapOfAddress(symbol) == MapOf(module) ? symbol : nullptr;
}

ModuleTable& ModuleTable::Instance()
{
    // Never destroyed: threads may call while the process ends.
    static ModuleTable& table = *new ModuleTable;
    return table;
}

HMODULE ModuleTable::Add(void* loaded, bool pinned)
{
    const auto module = static_cast<HMODULE>(loaded);
    const ScopedLock lock(Lock);
    // A pin is not a load: FreeLibrary must not be able to undo it.
    Entry& entry = Modules[module];
    entry.References += pinned ? 0 : 1;
    entry.Pinned = entry.Pinned || pinned;
    return module;
}

bool ModuleTable::Release(HMODULE module)
{
    {
        const ScopedLock lock(Lock);
        const auto found = Modules.find(module);
        if (found == Modules.end())
            return false;
        Entry& entry = found->second;
        if (entry.References == 0)
            return true; // pinned: Windows reports success and keeps the module
        --entry.References;
        if (entry.References == 0 && !entry.Pinned)
            // Before the loader drops the module, whose handle could be used again for the next one.
            Modules.erase(found);
    }
    dlclose(module); // without the lock, because it may run destructors of the module
    return true;
}

bool ModuleTable::Contains(HMODULE module) const
{
    const ScopedLock lock(Lock);
    return Modules.contains(module);
}

std::size_t ModuleTable::Count() const
{
    const ScopedLock lock(Lock);
    std::size_t count = 0;
    for (const auto& [module, entry] : Modules)
        count += entry.References;
    return count;
}

HMODULE ProgramModule()
{
    void* program = dlopen(nullptr, RTLD_NOW);
    dlclose(program); // the handle stays valid, because the program is never unloaded
    return static_cast<HMODULE>(program);
}

} // namespace Platform
