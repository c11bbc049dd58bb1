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

/// The same name on every platform, so that one file in a host's folder serves all of them.
constexpr char FileName[] = "VirtualDriver_UWP.dll";

/// Keeps the module of a bound entry loaded until the process ends, because a host's thread may still be
/// executing it when the binding is destroyed.
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
    // With a null module GetProcAddress would search the exports of the host program.
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
