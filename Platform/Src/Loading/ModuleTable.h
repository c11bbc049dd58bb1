/// @file
/// The modules that this process loaded through the stand-in.
#pragma once

#include "WinTypes.h"

#include <cstddef>
#include <map>
#include <mutex>

namespace Platform
{

/// Thread-safe; one for the process. A module's handle is that of the dynamic loader, so that all loads
/// of a module give the same one. The loader runs foreign code: no lock is held around its calls.
class ModuleTable
{
public:
    static ModuleTable& Instance();

    /// Takes over one reference of the loader's.
    HMODULE Add(void* loaded, bool pinned);
    /// Gives back one reference; false for a module that is not loaded.
    bool Release(HMODULE module);
    bool Contains(HMODULE module) const;
    /// Loads that were not given back; pins do not count.
    std::size_t Count() const;

private:
    struct Entry
    {
        std::size_t References = 0;
        bool Pinned = false;
    };

    mutable std::mutex Lock;
    std::map<HMODULE, Entry> Modules; // guarded by Lock
};

/// The program's own module, which is not counted.
HMODULE ProgramModule();

} // namespace Platform
