// The functions of EventTrace.h, and the controller's side, TraceSession.
#include "EventTrace.h"

#include "PublishedCall.h"
#include "TraceHub.h"

#include <unistd.h>

#include <chrono>
#include <cstdarg>
#include <cstring>

namespace Platform
{

TraceSession::TraceSession(const void* provider, std::uint8_t level, std::uint32_t flags,
                           std::function<void(const TraceRecord&)> sink)
    : Self(std::make_shared<State>())
{
    std::memcpy(&Self->Control, provider, sizeof(GUID));
    Self->Sink = std::move(sink);
    // In the list before it is enabled, so that a provider that registers meanwhile finds it.
    TraceHub::Instance().Start(Self);
    Enable(level, flags);
}

TraceSession::~TraceSession()
{
    TraceHub::Instance().Stop(Self);
    // Waits for a sink that runs on another thread. A later message finds the session closed.
    const ForeignCallGate::Holder turn(Self->SinkTurn);
    Self->Closed = true;
}

void TraceSession::Enable(std::uint8_t level, std::uint32_t flags)
{
    TraceHub::Instance().Enable(Self, level, flags);
}

void TraceSession::Disable()
{
    TraceHub::Instance().Disable(Self);
}

namespace
{

std::vector<std::vector<std::uint8_t>> CopyArguments(std::va_list list)
{
    std::vector<std::vector<std::uint8_t>> arguments;
    while (const auto* data = static_cast<const std::uint8_t*>(va_arg(list, const void*)))
    {
        const std::size_t size = va_arg(list, std::size_t);
        arguments.emplace_back(data, data + size);
    }
    return arguments;
}

// Fills in only the parts that the message flags request.
void Stamp(TraceRecord& record, const GUID* messageClass, std::uint64_t sequence)
{
    if ((record.MessageFlags & TRACE_MESSAGE_GUID) != 0 && messageClass != nullptr)
        std::memcpy(record.MessageClass, messageClass, sizeof(GUID));
    if ((record.MessageFlags & TRACE_MESSAGE_SEQUENCE) != 0)
        record.Sequence = sequence;
    if ((record.MessageFlags & TRACE_MESSAGE_TIMESTAMP) != 0)
    {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        record.TimestampNs =
            static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
    }
    if ((record.MessageFlags & TRACE_MESSAGE_SYSTEMINFO) != 0)
        record.ThreadId = static_cast<std::uint32_t>(gettid());
}

ULONG Write(TRACEHANDLE logger, const GUID* messageClass, TraceRecord& record)
{
    // A reference: the session may end while its sink runs.
    const TraceHub::Session session = TraceHub::Instance().Find(logger);
    if (!session)
        return ERROR_INVALID_HANDLE;
    const ForeignCallGate::Holder turn(session->SinkTurn);
    // Messages that a sink writes are dropped, because a sink that traces would never return.
    if (turn && !session->Closed)
    {
        Stamp(record, messageClass, ++session->Sequence);
        session->Sink(record);
    }
    return ERROR_SUCCESS;
}

} // namespace

} // namespace Platform

using namespace Platform;

ULONG RegisterTraceGuidsW(WMIDPREQUEST callback, void* context, const GUID* control, ULONG guidCount,
                          TRACE_GUID_REGISTRATION* guids, const WCHAR*, const WCHAR*, TRACEHANDLE* registration)
try
{
    if (const ULONG fault = CallFault("RegisterTraceGuidsW"))
        return fault;
    if (callback == nullptr || control == nullptr || registration == nullptr || (guidCount != 0 && guids == nullptr))
        return ERROR_INVALID_PARAMETER;
    const auto provider = std::make_shared<TraceProvider>();
    provider->Control = *control;
    provider->Callback = callback;
    provider->Context = context;
    TraceHub::Instance().Register(provider, registration);
    return ERROR_SUCCESS;
}
catch (const std::bad_alloc&)
{
    return ERROR_NOT_ENOUGH_MEMORY;
}

ULONG UnregisterTraceGuids(TRACEHANDLE registration)
{
    if (const ULONG fault = CallFault("UnregisterTraceGuids"))
        return fault;
    return TraceHub::Instance().Unregister(registration) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

TRACEHANDLE GetTraceLoggerHandle(void* buffer)
{
    const auto invalid = reinterpret_cast<TRACEHANDLE>(INVALID_HANDLE_VALUE);
    if (CallFails("GetTraceLoggerHandle"))
        return invalid;
    const auto* header = static_cast<const WNODE_HEADER*>(buffer);
    if (header == nullptr || header->BufferSize < sizeof(*header) || (header->Flags & WNODE_FLAG_TRACED_GUID) == 0)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return invalid;
    }
    return header->HistoricalContext;
}

// Level and flags are read from the handle itself, so they work even after the session has ended.
UCHAR GetTraceEnableLevel(TRACEHANDLE logger)
{
    return CallFails("GetTraceEnableLevel") ? UCHAR{0} : static_cast<UCHAR>(logger >> 16);
}

ULONG GetTraceEnableFlags(TRACEHANDLE logger)
{
    return CallFails("GetTraceEnableFlags") ? 0 : static_cast<ULONG>(logger >> 32);
}

ULONG TraceMessage(TRACEHANDLE logger, ULONG messageFlags, const GUID* messageClass, UINT messageNumber, ...)
try
{
    if (const ULONG fault = CallFault("TraceMessage"))
        return fault;
    TraceRecord record;
    record.Number = static_cast<USHORT>(messageNumber);
    record.MessageFlags = messageFlags;
    std::va_list list;
    va_start(list, messageNumber);
    record.Arguments = CopyArguments(list);
    va_end(list);
    return Write(logger, messageClass, record);
}
catch (const std::bad_alloc&)
{
    return ERROR_NOT_ENOUGH_MEMORY;
}
