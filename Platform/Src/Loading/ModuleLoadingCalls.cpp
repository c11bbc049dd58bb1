// The functions of ModuleLoading.h. The dynamic loader runs constructors and destructors of modules, so no lock is held
// around its calls.
#include "ModuleLoading.h"

#include "ModuleTable.h"
#include "PublishedCall.h"

#include <dlfcn.h>

using namespace Platform;

namespace
{

/// Takes over a reference of the dynamic loader; drops it if there is no memory for the entry.
HMODULE AddLoaded(void* loaded, bool pinned)
try
{
    return ModuleTable::Instance().Add(loaded, pinned);
}
catch (const std::bad_alloc&)
{
    dlclose(loaded);
    throw;
}

} // namespace

HMODULE LoadLibraryA(const char* name)
try
{
    if (CallFails("LoadLibraryA"))
        return nullptr;
    // A module that is loaded already gets another reference and the same handle, as on Windows.
    void* loaded = name != nullptr && *name != '\0' ? dlopen(ModuleFile(name).c_str(), RTLD_NOW | RTLD_LOCAL) : nullptr;
    if (loaded == nullptr)
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    return AddLoaded(loaded, false);
}
catch (const std::bad_alloc&)
{
    return OutOfMemory<HMODULE>(nullptr);
}

FARPROC GetProcAddress(HMODULE module, const char* name)
try
{
    if (CallFails("GetProcAddress"))
        return nullptr;
    // The program's handle is valid without an entry in the table.
    const HMODULE program = ProgramModule();
    if (module != nullptr && module != program && !ModuleTable::Instance().Contains(module))
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    void* symbol = OwnExport(module != nullptr ? module : program, name);
    if (symbol == nullptr)
        SetLastError(ERROR_PROC_NOT_FOUND);
    return reinterpret_cast<FARPROC>(symbol);
}
catch (const std::bad_alloc&)
{
    return OutOfMemory<FARPROC>(nullptr);
}

BOOL FreeLibrary(HMODULE module)
{
    if (CallFails("FreeLibrary"))
        return FALSE;
    if (module == nullptr)
        return FailWith(ERROR_INVALID_HANDLE);
    return ModuleTable::Instance().Release(module) ? TRUE : FailWith(ERROR_MOD_NOT_FOUND);
}

HMODULE GetModuleHandleW(const WCHAR* name)
{
    if (CallFails("GetModuleHandleW"))
        return nullptr;
    if (name != nullptr)
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    return ProgramModule();
}

BOOL GetModuleHandleExW(DWORD flags, const WCHAR* nameOrAddress, HMODULE* module)
try
{
    if (CallFails("GetModuleHandleExW"))
        return FALSE;
    const bool pin = (flags & GET_MODULE_HANDLE_EX_FLAG_PIN) != 0;
    if (module == nullptr || (flags & ~GET_MODULE_HANDLE_EX_FLAG_PIN) != GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS)
        return FailWith(ERROR_INVALID_PARAMETER);
    *module = nullptr;
    const link_map* map = nameOrAddress != nullptr ? MapOfAddress(nameOrAddress) : nullptr;
    if (nameOrAddress != nullptr && map == nullptr)
        return FailWith(ERROR_MOD_NOT_FOUND);
    // The loader keeps an empty name for the program itself.
    const char* name = map != nullptr && *map->l_name != '\0' ? map->l_name : nullptr;
    void* loaded = dlopen(name, RTLD_NOW | RTLD_NOLOAD | (pin ? RTLD_NODELETE : 0));
    if (loaded == nullptr)
        return FailWith(ERROR_MOD_NOT_FOUND);
    *module = AddLoaded(loaded, pin);
    return TRUE;
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(FALSE);
}

// Never true here: the other threads of a Linux process still run during its static destructors.
BOOLEAN RtlDllShutdownInProgress()
{
    return FALSE;
}
