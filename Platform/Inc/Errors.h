/// @file
/// The calling thread's last error, and the process's number.
#pragma once

#include "PlatformExport.h"
#include "WinTypes.h"

extern "C"
{
    /// Returns the error that a call of this thread set last. Successful calls mostly leave it unchanged, so
    /// check the call's result first.
    PLATFORM_API DWORD GetLastError();
    PLATFORM_API void SetLastError(DWORD error);
    PLATFORM_API DWORD GetCurrentProcessId();
}
