#include "TraceHub.h"

#include <algorithm>
#include <utility>

namespace Platform
{

namespace
{

// A logger's handle carries its setting: number in bits 0 to 15, level in 16 to 23, flags in 32 to 63.
TRACEHANDLE MakeLogger(std::uint16_t id, std::uint8_t level, std::uint32_t flags)
{
    return TRACEHANDLE{id} | TRACEHANDLE{level} << 16 | TRACEHANDLE{flags} << 32;
}

} // namespace

TraceHub& TraceHub::Instance()
{
    // Never destroyed: threads may call while the process ends.
    static TraceHub& hub = *new TraceHub;
    return hub;
}

void TraceHub::Register(const std::shared_ptr<TraceProvider>& provider, TRACEHANDLE* handle)
{
    {
        const ScopedLock lock(TraceLock);
        Providers.push_back(provider); // first, because it can fail
        provider->Handle = ++LastProvider;
        *handle = provider->Handle;
    }
    Notify(*provider);
}

bool TraceHub::Unregister(TRACEHANDLE handle)
{
    std::shared_ptr<TraceProvider> provider;
    {
        const ScopedLock lock(TraceLock);
        const auto found = std::ranges::find(Providers, handle, &TraceProvider::Handle);
        if (found == Providers.end())
            return false;
        provider = *found;
        provider->Registered = false; // makes the setting "disabled", which the call below reports
        Providers.erase(found);
    }
    Notify(*provider);
    return true;
}

std::size_t TraceHub::ProviderCount() const
{
    const ScopedLock lock(TraceLock);
    return Providers.size();
}

void TraceHub::Start(const Session& session)
{
    const ScopedLock lock(TraceLock);
    session->LoggerId = ++LastLoggerId;
    Sessions.push_back(session);
}

void TraceHub::Enable(const Session& session, std::uint8_t level, std::uint32_t flags)
{
    {
        const ScopedLock lock(TraceLock);
        session->Version = ++LastVersion;
        session->Logger = MakeLogger(session->LoggerId, level, flags);
    }
    NotifyProviders(session->Control);
}

void TraceHub::Disable(const Session& session)
{
    {
        const ScopedLock lock(TraceLock);
        // Zero means disabled. The session stays in the list, for a later Enable.
        session->Version = 0;
    }
    NotifyProviders(session->Control);
}

void TraceHub::Stop(const Session& session)
{
    // First, because the providers must be notified while the logger's handle is still valid.
    Disable(session);
    const ScopedLock lock(TraceLock);
    std::erase(Sessions, session);
}

TraceHub::Session TraceHub::Find(TRACEHANDLE logger) const
{
    const ScopedLock lock(TraceLock);
    const auto id = static_cast<std::uint16_t>(logger);
    const auto found = std::ranges::find(Sessions, id, [](const Session& session) { return session->LoggerId; });
    return found == Sessions.end() ? nullptr : *found;
}

// A copy of the list, because the callbacks run without the lock and may register or unregister.
void TraceHub::NotifyProviders(const GUID& control)
{
    std::vector<std::shared_ptr<TraceProvider>> concerned;
    {
        const ScopedLock lock(TraceLock);
        std::ranges::copy_if(Providers, std::back_inserter(concerned),
                             [&](const auto& provider) { return provider->Control == control; });
    }
    for (const auto& provider : concerned)
        Notify(*provider);
}

// Calls until the provider has the current setting, so that whichever thread holds the gate reports all changes. A
// change made inside the callback is reported by the outer loop.
void TraceHub::Notify(TraceProvider& provider)
{
    const ForeignCallGate::Holder turn(provider.CallbackTurn);
    while (turn)
    {
        const auto request = Instance().NextRequest(provider);
        if (!request)
            return;
        WNODE_HEADER header{};
        header.BufferSize = sizeof(header);
        header.HistoricalContext = request->Logger;
        header.Guid = provider.Control;
        header.Flags = WNODE_FLAG_TRACED_GUID;
        ULONG size = sizeof(header);
        provider.Callback(request->Code, provider.Context, &size, &header);
    }
}

std::optional<TraceHub::Request> TraceHub::NextRequest(TraceProvider& provider)
{
    const ScopedLock lock(TraceLock);
    // As on Windows, a provider serves only one session: the one that enabled it last.
    const TraceSession::State* newest = nullptr;
    for (const Session& session : Sessions)
    {
        const bool enables = provider.Registered && session->Version != 0 && session->Control == provider.Control;
        if (enables && (newest == nullptr || session->Version > newest->Version))
            newest = session.get();
    }
    const std::uint64_t version = newest != nullptr ? newest->Version : 0;
    // Recorded under the lock before the callback runs, so that each setting is reported once.
    if (std::exchange(provider.ReportedVersion, version) == version)
        return std::nullopt;
    const TRACEHANDLE previous = std::exchange(provider.ReportedLogger, newest != nullptr ? newest->Logger : 0);
    return newest != nullptr ? Request{WMI_ENABLE_EVENTS, newest->Logger} : Request{WMI_DISABLE_EVENTS, previous};
}

} // namespace Platform
