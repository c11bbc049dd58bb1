#include "CVirtualDriverBinding.h"

#include <bit>
#include <sys/stat.h>

constinit std::atomic<ZVVirtualRegister> Virtual_RegisterPnPHandler{nullptr};
constinit std::atomic<ZVVirtualEnum> Virtual_EnumZVDevice{nullptr};
constinit std::atomic<ZVVirtualSetQuery> Virtual_Dev_SetQueryInfo{nullptr};
constinit std::atomic<ZVVirtualRegistry> Virtual_AccessRegistry{nullptr};
constinit std::atomic<ZVVirtualIoctl> Virtual_SendIOCTLReq{nullptr};

namespace
{

/// The name is the same on every platform, so that a host's folder needs no second file.
constexpr char FileName[] = "VirtualDriver_UWP.dll";

/// A bound entry keeps its module loaded until the process ends: a host's thread may still be executing
/// inside it then.
template <class Entry>
void Bind(std::atomic<Entry>& entry, HMODULE module, const char* name)
{
    const FARPROC found = GetProcAddress(module, name);
    if (found != nullptr)
        PinModule(std::bit_cast<const void*>(found));
    entry.store(std::bit_cast<Entry>(found), std::memory_order_release);
}

} // namespace

bool CVirtualDriverBinding::Load()
{
    // The file must be in the current directory. The loader's search order alone would find one elsewhere,
    // and a host must never load a simulated driver by accident.
    struct stat status{};
    if (stat(FileName, &status) != 0)
        return false;
    Module = LoadLibraryA(FileName);
    LoadFlags |= Loaded;
    // Without a module the look-up would search the host program's exports.
    if (Module == nullptr)
        return true;
    Bind(Virtual_RegisterPnPHandler, Module, "Virtual_RegisterPnPHandler");
    Bind(Virtual_EnumZVDevice, Module, "Virtual_EnumZVDevice");
    Bind(Virtual_Dev_SetQueryInfo, Module, "Virtual_Dev_SetQueryInfo");
    Bind(Virtual_AccessRegistry, Module, "Virtual_AccessRegistry");
    Bind(Virtual_SendIOCTLReq, Module, "Virtual_SendIOCTLReq");
    return true;
}

void CVirtualDriverBinding::Unload()
{
    if (!IsLoaded())
        return;
    FreeLibrary(Module);
    Virtual_RegisterPnPHandler = nullptr;
    Virtual_EnumZVDevice = nullptr;
    Virtual_Dev_SetQueryInfo = nullptr;
    Virtual_AccessRegistry = nullptr;
    Virtual_SendIOCTLReq = nullptr;
    LoadFlags &= ~Loaded;
}

void PinModule(const void* address)
{
    HMODULE pinned = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       static_cast<const WCHAR*>(address), &pinned);
}
