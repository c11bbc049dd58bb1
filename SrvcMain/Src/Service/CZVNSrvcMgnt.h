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

    /// Appends a handler, which is held until the service goes. Any thread.
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

/// Has to be entered for the use of what g_pSrvcMgnt points at.
extern CServiceGate ServiceGate;

/// Calls `work` with the service, unless there is none or it is going.
template <class Work>
void WithService(Work&& work)
{
    if (!ServiceGate.Enter())
        return;
    if (CZVNSrvcMgnt* service = g_pSrvcMgnt.Get(); service != nullptr)
        std::forward<Work>(work)(*service);
    ServiceGate.Leave();
}

/// Brings the service up unless it is up. Callers that come while it is being brought up wait.
/// @throws what the construction throws; the next call then tries again.
void EnsureService();
