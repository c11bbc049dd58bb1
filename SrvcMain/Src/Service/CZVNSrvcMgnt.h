/// @file
/// The one service object of the process.
#pragma once

#include "OSPlatform.h"

#include "NotifyHandlers.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

/// Counts the threads that use the service through g_pSrvcMgnt, so that teardown can wait for them. They
/// only change a list there, so the wait is short.
class CServiceGate
{
public:
    /// @return false once the gate is closed; the caller must not call Leave then.
    bool Enter() noexcept;
    void Leave() noexcept;
    /// Refuses entry from now on and returns when all threads have left.
    void Close() noexcept;

private:
    static constexpr std::uint32_t Closed = 0x80000000;

    std::atomic<std::uint32_t> Inside{0}; ///< Threads inside, and the closed bit. Guarded by no lock.
};

/// Owns everything that exists once per process. Created by the first factory call and destroyed when the
/// process ends.
class CZVNSrvcMgnt
{
public:
    /// Starts the notification thread, binds the simulated driver and registers the trace provider,
    /// in this order.
    CZVNSrvcMgnt();
    /// Stops the sources of messages first and releases the device managers last.
    ~CZVNSrvcMgnt();
    CZVNSrvcMgnt(const CZVNSrvcMgnt&) = delete;
    CZVNSrvcMgnt& operator=(const CZVNSrvcMgnt&) = delete;

    /// Second stage of bring-up: connects the source of window messages. Must run after g_pSrvcMgnt is
    /// set, because messages can arrive from now on.
    void Init();

    /// Appends a handler and keeps it until the service is destroyed. Any thread.
    void RegisterPwrEvtHandler(std::shared_ptr<CZVPwrEvtHandler> handler);

    /// Queues a window message for the handlers. Any thread.
    void PostWindowMessage(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam);

    class Pimpl;

private:
    std::shared_ptr<Pimpl> Self; ///< Constant until the destructor.
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

/// Holds the gate for a scope. If an exception left the gate entered, the process could not exit.
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

    /// Returns the service, or null when there is none or its destruction has begun.
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

/// Brings the service up unless it is up. Concurrent callers wait until it is, including its event window.
/// @throws what the constructor throws; the next call then tries again. Also what Init throws; the service
///         is then up without an event window, and the next call succeeds.
void EnsureService();

/// Copies a message into a blob and queues it for the device managers without waiting for them. With a
/// simulated driver it runs on any of that driver's threads.
/// @return 1 with a simulated driver, because no window handles the message; otherwise the result of the default
/// handling.
LRESULT CALLBACK PwrEvtWndProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
