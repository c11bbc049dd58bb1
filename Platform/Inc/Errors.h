/// @file
/// The calling thread's last error, and the process's number.
#pragma once

#include "PlatformExport.h"
#include "WinTypes.h"

extern "C"
{
    /// The number that a call of this thread left last. Calls that succeed mostly leave it alone: look at
    /// the call's own result first.
    PLATFORM_API DWORD GetLastError();
    PLATFORM_API void SetLastError(DWORD error);
    PLATFORM_API DWORD GetCurrentProcessId();
}
