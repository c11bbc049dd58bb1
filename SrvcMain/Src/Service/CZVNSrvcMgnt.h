/// @file
/// The one service object of the process.
#pragma once

#include "OSPlatform.h"

#include "NotifyHandlers.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

/// Counts the threads that reach the service through g_pSrvcMgnt, so that teardown can wait until
/// none is inside. What they do there is list work, so the wait is short.
class CServiceGate
{
public:
    /// @return false once the gate is closed; then there is nothing to leave.
    bool Enter() noexcept;
    void Leave() noexcept;
    /// Refuses entry from here on and returns when everybody has left.
    void Close() noexcept;

private:
    static constexpr std::uint32_t Closed = 0x80000000;

    std::atomic<std::uint32_t> Inside{0}; ///< Threads inside, and the closed bit.
};

/// Owns everything that exists once per process. Made by the first factory call; lives until the
/// process ends.
class CZVNSrvcMgnt
{
public:
    /// Starts the notification thread, binds the simulated driver and registers the trace provider,
    /// in this order.
    CZVNSrvcMgnt();
    /// Silences the sources first and releases the device managers last.
    ~CZVNSrvcMgnt();
    CZVNSrvcMgnt(const CZVNSrvcMgnt&) = delete;
    CZVNSrvcMgnt& operator=(const CZVNSrvcMgnt&) = delete;

    /// Second stage of bring-up: connects the source of window messages. Runs after g_pSrvcMgnt is
    /// set, since messages can arrive from here on.
    void Init();

    /// Appends a handler and keeps it until the service is destroyed. Any thread.
    void RegisterPwrEvtHandler(std::shared_ptr<CZVPwrEvtHandler> handler);

    /// Queues a window message for the handlers. Any thread.
    void PostWindowMessage(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam);

    class Pimpl;

private:
    std::shared_ptr<Pimpl> Self;
};

/// Owner of the service object. Its destructor is the exit routine of the library.
class CServiceOwner
{
public:
    constexpr CServiceOwner() noexcept = default;
    ~CServiceOwner();
    CServiceOwner(const CServiceOwner&) = delete;
    CServiceOwner& operator=(const CServiceOwner&) = delete;

    void Assign(std::unique_ptr<CZVNSrvcMgnt> service);
    CZVNSrvcMgnt* Get() const noexcept { return Service.load(std::memory_order_acquire); }

private:
    std::atomic<CZVNSrvcMgnt*> Service{nullptr}; ///< Written by bring-up and teardown.
};

/// Null until the first factory call.
extern CServiceOwner g_pSrvcMgnt;

/// Must be entered before g_pSrvcMgnt is dereferenced.
extern CServiceGate ServiceGate;

/// One visit of a thread to the service. Leaves the gate on every way out of its scope: a visit that
/// threw and stayed inside would keep the process from exiting.
class CServiceVisit
{
public:
    CServiceVisit() noexcept : IsInside(ServiceGate.Enter()) {}
    ~CServiceVisit()
    {
        if (IsInside)
            ServiceGate.Leave();
    }
    CServiceVisit(const CServiceVisit&) = delete;
    CServiceVisit& operator=(const CServiceVisit&) = delete;

    /// The service, or null when there is none or its destruction has begun.
    CZVNSrvcMgnt* Service() const noexcept { return IsInside ? g_pSrvcMgnt.Get() : nullptr; }

private:
    const bool IsInside;
};

/// Calls `work` with the service, unless there is none or its destruction has begun.
template <class Work>
void WithService(Work&& work)
{
    const CServiceVisit visit;
    if (CZVNSrvcMgnt* service = visit.Service(); service != nullptr)
        std::forward<Work>(work)(*service);
}

/// Brings the service up unless it is up. Concurrent callers wait until it is, event window included.
/// @throws what the construction throws; the next call then tries again. What Init throws: the
///         service then is up without an event window, and the next call succeeds.
void EnsureService();

/// Copies a message into a blob and queues it for the device managers without waiting for them. With a
/// simulated driver it runs on any of that driver's threads.
/// @return 1 with a simulated driver, because no window handles the message; otherwise the default result.
LRESULT CALLBACK PwrEvtWndProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
