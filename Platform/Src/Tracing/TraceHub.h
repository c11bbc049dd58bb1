/// @file
/// Connects trace sessions and providers, in whatever order they appear and disappear.
#pragma once

#include "AnnotatedLock.h"
#include "EventTrace.h"
#include "ForeignCallGate.h"
#include "Machine.h"

#include <optional>
#include <vector>

namespace Platform
{

/// Guards the hub, and the settings of providers and sessions. Never held during a callback or a sink.
inline constinit Mutex TraceLock;

/// A registered provider.
struct TraceProvider
{
    // Constant after construction.
    GUID Control;
    WMIDPREQUEST Callback;
    void* Context;
    TRACEHANDLE Handle = 0;

    ForeignCallGate CallbackTurn; // held while the callback runs

    bool Registered PLATFORM_GUARDED_BY(TraceLock) = true;
    /// Passed to the last callback, 0 for disabled, and the version of that setting.
    TRACEHANDLE ReportedLogger PLATFORM_GUARDED_BY(TraceLock) = 0;
    std::uint64_t ReportedVersion PLATFORM_GUARDED_BY(TraceLock) = 0;
};

/// A running session.
struct TraceSession::State
{
    // Constant after construction.
    GUID Control;
    std::uint16_t LoggerId = 0;
    std::function<void(const TraceRecord&)> Sink;

    ForeignCallGate SinkTurn; // held while the sink runs
    bool Closed PLATFORM_GUARDED_BY(SinkTurn) = false;
    std::uint64_t Sequence PLATFORM_GUARDED_BY(SinkTurn) = 0;

    std::uint64_t Version PLATFORM_GUARDED_BY(TraceLock) = 0; // grows with each setting; 0 while disabled
    TRACEHANDLE Logger PLATFORM_GUARDED_BY(TraceLock) = 0;
};

/// One for the process; thread-safe.
class TraceHub
{
public:
    using Session = std::shared_ptr<TraceSession::State>;

    static TraceHub& Instance();

    /// Stores the provider's handle in `*handle` before any callback runs, because a callback may use it.
    void Register(const std::shared_ptr<TraceProvider>& provider, TRACEHANDLE* handle);
    /// Disables an enabled provider. Returns false for an unknown handle.
    bool Unregister(TRACEHANDLE handle);
    std::size_t ProviderCount() const;

    void Start(const Session& session);
    void Enable(const Session& session, std::uint8_t level, std::uint32_t flags);
    void Disable(const Session& session);
    void Stop(const Session& session);
    /// Returns null if the logger's session has ended.
    Session Find(TRACEHANDLE logger) const;

private:
    struct Request
    {
        WMIDPREQUESTCODE Code;
        TRACEHANDLE Logger;
    };

    void NotifyProviders(const GUID& control);
    static void Notify(TraceProvider& provider);
    std::optional<Request> NextRequest(TraceProvider& provider);

    std::vector<std::shared_ptr<TraceProvider>> Providers PLATFORM_GUARDED_BY(TraceLock);
    std::vector<Session> Sessions PLATFORM_GUARDED_BY(TraceLock);
    TRACEHANDLE LastProvider PLATFORM_GUARDED_BY(TraceLock) = 0;
    std::uint16_t LastLoggerId PLATFORM_GUARDED_BY(TraceLock) = 0;
    std::uint64_t LastVersion PLATFORM_GUARDED_BY(TraceLock) = 0;
};

} // namespace Platform
