/// @file
/// Connects trace sessions and providers, in whatever order they appear and disappear.
#pragma once

#include "EventTrace.h"
#include "ForeignCallGate.h"
#include "Machine.h"

#include <mutex>
#include <optional>
#include <vector>

namespace Platform
{

/// A registered provider.
struct TraceProvider
{
    // Constant after construction.
    GUID Control;
    WMIDPREQUEST Callback;
    void* Context;
    TRACEHANDLE Handle = 0;

    ForeignCallGate CallbackTurn; // held while the callback runs

    // Guarded by the hub's lock.
    bool Registered = true;
    TRACEHANDLE ToldLogger = 0;    // passed to the last callback; 0 for disabled
    std::uint64_t ToldVersion = 0; // and the version of the session's setting
};

/// A running session.
struct TraceSession::State
{
    // Constant after construction.
    GUID Control;
    std::uint16_t LoggerId = 0;
    std::function<void(const TraceRecord&)> Sink;

    ForeignCallGate SinkTurn;   // held while the sink runs
    bool Closed = false;        // guarded by SinkTurn
    std::uint64_t Sequence = 0; // guarded by SinkTurn

    // Guarded by the hub's lock.
    std::uint64_t Version = 0; // grows with each setting; 0 while disabled
    TRACEHANDLE Logger = 0;
};

/// One for the process. A callback or sink never runs under the hub's lock.
class TraceHub
{
public:
    using Session = std::shared_ptr<TraceSession::State>;

    static TraceHub& Instance();

    /// Gives the provider its handle, which is stored in `*handle` before any callback runs.
    void Register(const std::shared_ptr<TraceProvider>& provider, TRACEHANDLE* handle);
    bool Unregister(TRACEHANDLE handle);
    std::size_t ProviderCount() const;

    void Start(const Session& session);
    void Enable(const Session& session, std::uint8_t level, std::uint32_t flags);
    void Disable(const Session& session);
    void Stop(const Session& session);
    /// Null when the logger's session has ended.
    Session Find(TRACEHANDLE logger) const;

private:
    struct Request
    {
        WMIDPREQUESTCODE Code;
        TRACEHANDLE Logger;
    };

    void TellProviders(const GUID& control);
    static void Tell(TraceProvider& provider);
    std::optional<Request> NextRequest(TraceProvider& provider);

    mutable std::mutex Lock;
    // All guarded by Lock.
    std::vector<std::shared_ptr<TraceProvider>> Providers;
    std::vector<Session> Sessions;
    TRACEHANDLE LastProvider = 0;
    std::uint16_t LastLoggerId = 0;
    std::uint64_t LastVersion = 0;
};

} // namespace Platform
