#include "ModuleTable.h"

#include <dlfcn.h>

namespace Platform
{

ModuleTable& ModuleTable::Instance()
{
    // Never destroyed: threads may call while the process ends.
    static ModuleTable& table = *new ModuleTable;
    return table;
}

HMODULE ModuleTable::Add(void* loaded, bool pinned)
{
    const auto module = static_cast<HMODULE>(loaded);
    const std::lock_guard lock(Lock);
    Entry& entry = Modules[module];
    entry.References += pinned ? 0 : 1;
    entry.Pinned = entry.Pinned || pinned;
    return module;
}

bool ModuleTable::Release(HMODULE module)
{
    {
        const std::lock_guard lock(Lock);
        const auto found = Modules.find(module);
        if (found == Modules.end())
            return false;
        Entry& entry = found->second;
        if (entry.References == 0)
            return true; // pinned: it stays, and that is no failure
        --entry.References;
        if (entry.References == 0 && !entry.Pinned)
            Modules.erase(found);
    }
    dlclose(module);
    return true;
}

bool ModuleTable::Contains(HMODULE module) const
{
    const std::lock_guard lock(Lock);
    return Modules.contains(module);
}

std::size_t ModuleTable::Count() const
{
    const std::lock_guard lock(Lock);
    std::size_t count = 0;
    for (const auto& [module, entry] : Modules)
        count += entry.References;
    return count;
}

HMODULE ProgramModule()
{
    void* program = dlopen(nullptr, RTLD_NOW);
    dlclose(program); // the handle stays good: the program is not unloaded
    return static_cast<HMODULE>(program);
}

} // namespace Platform
