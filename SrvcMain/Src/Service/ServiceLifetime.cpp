/// Bring-up on the first factory call and the exit routine at the end of the process.

#include "CVirtualDriverBinding.h"
#include "CZVNSrvcMgnt.h"
#include "LibraryThread.h"
#include "ProcessEnd.h"
#include "WordWait.h"

#include <atomic>
#include <memory>
#include <system_error>
#include <utility>

namespace
{

enum class CBringUp
{
    Absent,
    Building,
    Up
};

/// A word to wait on rather than a lock: bring-up loads a library, and no lock is held meanwhile.
constinit std::atomic<CBringUp> bringUp{CBringUp::Absent};
thread_local bool isBuilder = false;

void Settle(CBringUp outcome)
{
    isBuilder = false;
    bringUp.store(outcome, std::memory_order_release);
    TellChange();
}

void Build()
{
    isBuilder = true;
    try
    {
        PinModule(&g_pSrvcMgnt);
        g_pSrvcMgnt.Assign(std::make_unique<CZVNSrvcMgnt>());
    }
    catch (...)
    {
        Settle(CBringUp::Absent);
        throw;
    }
    // The pointer is set, so a failure from here on is no reason to build a second service.
    Settle(CBringUp::Up);
    g_pSrvcMgnt.Get()->Init();
}

} // namespace

void EnsureService()
{
    CBringUp seen = bringUp.load(std::memory_order_acquire);
    while (seen != CBringUp::Up)
    {
        if (seen == CBringUp::Absent)
        {
            if (bringUp.compare_exchange_strong(seen, CBringUp::Building, std::memory_order_acq_rel))
                return Build();
            continue;
        }
        // A simulated driver that calls the factory while it is being loaded would wait for itself.
        if (isBuilder)
            throw CThreadError(std::errc::resource_deadlock_would_occur, "resource deadlock would occur");
        AwaitChange(bringUp, CBringUp::Building);
        seen = bringUp.load(std::memory_order_acquire);
    }
}

void CServiceOwner::Assign(std::unique_ptr<CZVNSrvcMgnt> service)
{
    Service.store(service.release(), std::memory_order_release);
}

CServiceOwner::~CServiceOwner()
{
    // When the process ends on one of the library's own threads, that thread cannot be joined and
    // its callers' frames are still in use: everything stays as it is until the process is gone.
    if (ThreadsHaveBeenEnded() || OnLibraryThread())
        return;
    delete Get();
    Service.store(nullptr, std::memory_order_release);
}

bool CServiceGate::Enter() noexcept
{
    if ((Inside.fetch_add(1, std::memory_order_acquire) & Closed) == 0)
        return true;
    Leave();
    return false;
}

void CServiceGate::Leave() noexcept
{
    if ((Inside.fetch_sub(1, std::memory_order_release) & Closed) != 0)
        TellChange();
}

void CServiceGate::Close() noexcept
{
    Inside.fetch_or(Closed, std::memory_order_acq_rel);
    for (std::uint32_t seen = Inside; seen != Closed; seen = Inside)
        AwaitChange(Inside, seen);
}
