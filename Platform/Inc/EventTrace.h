/// @file
/// The provider's side of event tracing. Functions with a ULONG result return their error number. All may be called
/// from any thread. The controller's side is Platform::TraceSession in Machine.h.
#pragma once

#include "PlatformExport.h"
#include "WinTypes.h"

/// A registration or a logger. A logger's handle contains its level and flags.
using TRACEHANDLE = ULONG64;

/// Why the enable callback is called.
enum WMIDPREQUESTCODE
{
    WMI_ENABLE_EVENTS = 4, ///< Repeated when level or flags change.
    WMI_DISABLE_EVENTS = 5
};

/// The buffer that the enable callback receives.
struct WNODE_HEADER
{
    ULONG BufferSize;
    ULONG ProviderId;
    ULONG64 HistoricalContext; ///< The logger's handle.
    std::int64_t TimeStamp;
    GUID Guid;
    ULONG ClientContext;
    ULONG Flags;
};
static_assert(sizeof(WNODE_HEADER) == 48);

inline constexpr ULONG WNODE_FLAG_TRACED_GUID = 0x20000;

/// Names one class of messages of a provider.
struct TRACE_GUID_REGISTRATION
{
    const GUID* Guid;
    HANDLE RegHandle;
};
static_assert(sizeof(TRACE_GUID_REGISTRATION) == 16);

/// The enable callback. `buffer` is a WNODE_HEADER. No lock of the stand-in is held during the call.
using WMIDPREQUEST = ULONG (*)(WMIDPREQUESTCODE requestCode, void* context, ULONG* bufferSize, void* buffer);

/// @name Parts of a message that the stand-in fills in
/// @{
inline constexpr ULONG TRACE_MESSAGE_SEQUENCE = 0x1;    ///< Counts the messages of the session from 1.
inline constexpr ULONG TRACE_MESSAGE_GUID = 0x2;        ///< The message class.
inline constexpr ULONG TRACE_MESSAGE_TIMESTAMP = 0x8;   ///< Nanoseconds of a monotonic clock.
inline constexpr ULONG TRACE_MESSAGE_SYSTEMINFO = 0x20; ///< The number of the writing thread.
/// @}

extern "C"
{
    /// Registers a provider. The GUID is copied. If a controller has enabled it already, the callback runs before this
    /// returns, and `*registration` is valid by then; later it runs on the controller's thread. Calls of
    /// one provider's callback never overlap.
    PLATFORM_API ULONG RegisterTraceGuidsW(WMIDPREQUEST callback, void* context, const GUID* control, ULONG guidCount,
                                           TRACE_GUID_REGISTRATION* guids, const WCHAR* imagePath,
                                           const WCHAR* resourceName, TRACEHANDLE* registration)
        PLATFORM_NAME(RegisterTraceGuidsW);

    /// Ends a registration. The callback of an enabled provider is called to disable it before this returns,
    /// and never afterwards.
    PLATFORM_API ULONG UnregisterTraceGuids(TRACEHANDLE registration) PLATFORM_NAME(UnregisterTraceGuids);

    /// Returns the logger in the buffer of an enable callback; INVALID_HANDLE_VALUE's number for any other buffer.
    PLATFORM_API TRACEHANDLE GetTraceLoggerHandle(void* buffer) PLATFORM_NAME(GetTraceLoggerHandle);
    /// Return the level and the flags of a logger's handle, even after its session has ended. 0 only for a simulated
    /// fault or a setting of 0.
    PLATFORM_API UCHAR GetTraceEnableLevel(TRACEHANDLE logger) PLATFORM_NAME(GetTraceEnableLevel);
    PLATFORM_API ULONG GetTraceEnableFlags(TRACEHANDLE logger) PLATFORM_NAME(GetTraceEnableFlags);

    /// Writes a message. The arguments are pairs of a `const void*` and a `size_t`, ended by a null
    /// pointer. Returns ERROR_INVALID_HANDLE once the session has ended. The session's sink runs on the calling
    /// thread. The number is published as a USHORT, which va_start in C++ does not accept as the last parameter.
    PLATFORM_API ULONG TraceMessage(TRACEHANDLE logger, ULONG messageFlags, const GUID* messageClass,
                                    UINT messageNumber, ...) PLATFORM_NAME(TraceMessage);
}
