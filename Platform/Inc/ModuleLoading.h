/// @file
/// Loading of shared libraries. Functions report the reason of a failure in the last error. All may be called
/// from any thread; the dynamic loader runs without a lock of the stand-in.
#pragma once

#include "PlatformExport.h"
#include "WinTypes.h"

/// An exported function; cast to its real type before the call.
using FARPROC = std::intptr_t (*)();

inline constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_PIN = 0x1;
inline constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS = 0x4;

extern "C"
{
    /// Loads a library. A bare name is searched for in the program's folder, then in the current one, then
    /// on the system's path; the first file of that name decides. A relative path is searched for in the first two;
    /// an absolute one is used unchanged. Null with ERROR_MOD_NOT_FOUND on failure. Each load needs a FreeLibrary.
    PLATFORM_API HMODULE LoadLibraryA(const char* name) PLATFORM_NAME(LoadLibraryA);

    /// Returns an export of that module, not of its dependencies; null stands for the program.
    PLATFORM_API FARPROC GetProcAddress(HMODULE module, const char* name) PLATFORM_NAME(GetProcAddress);
    /// Drops one load; the last one unloads the library. ERROR_MOD_NOT_FOUND for a module that is not loaded.
    PLATFORM_API BOOL FreeLibrary(HMODULE module) PLATFORM_NAME(FreeLibrary);

    /// Returns the program's module for a null name, without counting. No other name is supported:
    /// ERROR_MOD_NOT_FOUND.
    PLATFORM_API HMODULE GetModuleHandleW(const WCHAR* name) PLATFORM_NAME(GetModuleHandleW);

    /// Finds the module that an address lies in (GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS is needed), for
    /// null the program, and counts a load of it, or with GET_MODULE_HANDLE_EX_FLAG_PIN keeps it until the
    /// process ends.
    PLATFORM_API BOOL GetModuleHandleExW(DWORD flags, const WCHAR* nameOrAddress, HMODULE* module)
        PLATFORM_NAME(GetModuleHandleExW);

    /// Returns whether the process is exiting and Windows has already terminated its other threads. Never the case
    /// here, because Linux ends all threads together.
    PLATFORM_API BOOLEAN RtlDllShutdownInProgress() PLATFORM_NAME(RtlDllShutdownInProgress);
}
