/// @file
/// Events and waits. Functions report the reason of a failure in the last error. All may be called from any thread.
#pragma once

#include "PlatformExport.h"
#include "WinTypes.h"

struct SECURITY_ATTRIBUTES;

/// A time without a bound. All times are in milliseconds.
inline constexpr DWORD INFINITE = 0xFFFFFFFF;
inline constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;

inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;

extern "C"
{
    /// Creates an event; null on failure. Names are shared within the process and case-sensitive; null or
    /// an empty name means none. If an event of that name exists, the result is a new handle to it, its
    /// kind and state stay unchanged, and the last error is ERROR_ALREADY_EXISTS; otherwise a success sets
    /// it to 0.
    PLATFORM_API HANDLE CreateEventW(SECURITY_ATTRIBUTES* security, BOOL manualReset, BOOL initialState,
                                     const WCHAR* name) PLATFORM_NAME(CreateEventW);
    /// Signals an event. An automatic one releases a single wait, now or later; a manual one all until it is reset.
    PLATFORM_API BOOL SetEvent(HANDLE event) PLATFORM_NAME(SetEvent);
    /// Ends the signal of an event. Waits that it has released still return.
    PLATFORM_API BOOL ResetEvent(HANDLE event) PLATFORM_NAME(ResetEvent);

    /// Blocks until an event is signalled, or a request without an event has completed on a file. A time of 0 only
    /// checks.
    /// WAIT_FAILED for a bad handle.
    PLATFORM_API DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) PLATFORM_NAME(WaitForSingleObject);

    /// Blocks until one of up to 64 objects is signalled: WAIT_OBJECT_0 + the lowest index that is signalled; only that
    /// one is consumed. Waiting for all is refused with ERROR_INVALID_PARAMETER. A bad handle among them
    /// fails the call and consumes nothing.
    PLATFORM_API DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds)
        PLATFORM_NAME(WaitForMultipleObjects);
}
