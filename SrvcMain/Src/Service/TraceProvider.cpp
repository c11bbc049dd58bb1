#include "TraceProvider.h"

#include "TracePoint.h"

#include <cstring>

namespace
{

/// Called by the platform on one of its threads when a controller enables or disables the provider.
ULONG WINAPI OnEnable(WMIDPREQUESTCODE request, void* /*context*/, ULONG* bufferSize, void* buffer)
{
    *bufferSize = 0;
    TRACEHANDLE logger = 0;
    UCHAR level = 0;
    ULONG flags = 0;
    switch (request)
    {
    case WMI_ENABLE_EVENTS:
        logger = GetTraceLoggerHandle(buffer);
        level = GetTraceEnableLevel(logger);
        flags = GetTraceEnableFlags(logger);
        break;
    case WMI_DISABLE_EVENTS:
        break;
    default:
        return ERROR_INVALID_PARAMETER;
    }
    TraceControl.Logger = logger;
    TraceControl.Flags = flags;
    TraceControl.Level = level;
    return ERROR_SUCCESS;
}

} // namespace

void RegisterTraceProvider()
{
    TraceControl.Next = nullptr;
    TraceControl.Logger = 0;
    TraceControl.FlagsLen = 1;
    TraceControl.Level = 0;
    TraceControl.Options = 0;
    TraceControl.Flags = 0;
    TraceControlPtr.store(&TraceControl, std::memory_order_release);

    GUID control{};
    static_assert(sizeof control == sizeof ZV_TRACE_PROVIDER);
    std::memcpy(&control, &ZV_TRACE_PROVIDER, sizeof control);
    TRACE_GUID_REGISTRATION registration{&control, nullptr};
    TRACEHANDLE handle = 0;
    RegisterTraceGuidsW(&OnEnable, &TraceControl, &control, 1, &registration, nullptr, nullptr, &handle);
    TraceControl.RegHandle = handle;
}

void UnregisterTraceProvider()
{
    if (TraceControlPtr.load(std::memory_order_acquire) == &TraceControlPtr)
        return;
    if (TraceControl.RegHandle != 0)
    {
        UnregisterTraceGuids(TraceControl.RegHandle);
        TraceControl.RegHandle = 0;
    }
    TraceControlPtr.store(&TraceControlPtr, std::memory_order_release);
}
