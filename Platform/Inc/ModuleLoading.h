/// @file
/// Loading of shared libraries. A failure leaves its reason in the last error.
#pragma once

#include "PlatformExport.h"
#include "WinTypes.h"

using FARPROC = std::intptr_t (*)();

inline constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_PIN = 0x1;
inline constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS = 0x4;

extern "C"
{
    /// Loads a library. A bare name is looked for in the program's folder, then in the current one, then
    /// on the system's path; the first file of that name decides. So is one with a relative path, but for
    /// the system's path; an absolute one is used as it stands. Null and ERROR_MOD_NOT_FOUND on failure.
    /// Each load of a library counts.
    PLATFORM_API HMODULE LoadLibraryA(const char* name);

    /// Returns an export of that module, not of its dependencies; null stands for the program.
    PLATFORM_API FARPROC GetProcAddress(HMODULE module, const char* name);
    PLATFORM_API BOOL FreeLibrary(HMODULE module);

    /// Returns the program's module for a null name, without counting. No other name is supported:
    /// ERROR_MOD_NOT_FOUND.
    PLATFORM_API HMODULE GetModuleHandleW(const WCHAR* name);

    /// Finds the module that an address lies in (GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS is needed), for
    /// null the program, and counts a load of it, or with GET_MODULE_HANDLE_EX_FLAG_PIN keeps it until the
    /// process ends.
    PLATFORM_API BOOL GetModuleHandleExW(DWORD flags, const WCHAR* nameOrAddress, HMODULE* module);

    /// Whether the process is ending and the system has ended its other threads for that. Never here:
    /// the threads of a process end with it and not before.
    PLATFORM_API BOOLEAN RtlDllShutdownInProgress();
}
