/// @file
/// The calling thread's last error, and the process's number.
#pragma once

#include "PlatformExport.h"
#include "WinTypes.h"

extern "C"
{
    /// Returns the error that a call of this thread set last. Successful calls mostly leave it unchanged, so
    /// check the call's result first.
    PLATFORM_API DWORD GetLastError() PLATFORM_NAME(GetLastError);
    /// Sets the last error of the calling thread.
    PLATFORM_API void SetLastError(DWORD error) PLATFORM_NAME(SetLastError);
    /// Returns the number of the process. Cannot fail.
    PLATFORM_API DWORD GetCurrentProcessId() PLATFORM_NAME(GetCurrentProcessId);
}
