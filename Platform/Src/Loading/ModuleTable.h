/// @file
/// Modules: their files and exports, and the loads that this process made through the stand-in.
#pragma once

#include "AnnotatedLock.h"
#include "WinTypes.h"

#include <link.h>

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace Platform
{

/// Returns the file to load for a module's name. A bare name that is neither in the program's folder nor in
/// the current folder is left to the loader, which searches its path.
std::string ModuleFile(std::string_view name);

/// Returns the module that contains an address, or null.
const link_map* MapOfAddress(const void* address);

/// Returns an export of that module, not of its dependencies.
void* OwnExport(void* module, const char* name);

/// Thread-safe; one for the process. A module's handle is that of the dynamic loader, so that all loads
/// of a module give the same one. The loader runs foreign code: no lock is held around its calls.
class ModuleTable
{
public:
    static ModuleTable& Instance();

    /// Takes over one reference of the dynamic loader.
    HMODULE Add(void* loaded, bool pinned);
    /// Drops one reference. Returns false for a module that is not loaded.
    bool Release(HMODULE module);
    bool Contains(HMODULE module) const;
    /// Returns the number of loads without a matching FreeLibrary; pins do not count.
    std::size_t Count() const;

private:
    struct Entry
    {
        std::size_t References = 0;
        bool Pinned = false;
    };

    mutable Mutex Lock;
    std::map<HMODULE, Entry> Modules PLATFORM_GUARDED_BY(Lock);
};

/// Returns the module of the program, which is not counted.
HMODULE ProgramModule();

} // namespace Platform
