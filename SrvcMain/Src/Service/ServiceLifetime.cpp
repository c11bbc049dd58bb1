/// Bring-up on the first factory call and the exit routine at the end of the process.

#include "CVirtualDriverBinding.h"
#include "CZVNSrvcMgnt.h"
#include "LibraryThread.h"
#include "ProcessEnd.h"
#include "ProcessWait.h"

#include <atomic>
#include <memory>
#include <system_error>
#include <utility>

namespace
{

enum class BringUpState
{
    Absent,
    Building,
    Up
};

/// An atomic value to wait on rather than a lock: bring-up loads a library, and no lock may be held
/// meanwhile.
constinit std::atomic<BringUpState> bringUp{BringUpState::Absent};
/// True on the thread that performs bring-up, which must not wait for itself.
thread_local bool isBuilder = false;

void FinishBringUp(BringUpState outcome)
{
    isBuilder = false;
    bringUp.store(outcome, std::memory_order_release);
    NotifyChange();
}

void BuildService()
{
    try
    {
        PinModule(&g_pSrvcMgnt);
        g_pSrvcMgnt.Assign(std::make_unique<CZVNSrvcMgnt>());
    }
    catch (...)
    {
        FinishBringUp(BringUpState::Absent);
        throw;
    }
}

/// Connects the source of messages. Other callers wait for this too: no event would ever report an adapter
/// that is removed between a listing and the creation of the event window. Inside the gate, so that the
/// exit routine waits for it.
void ConnectService()
{
    struct CFinisher
    {
        // The service exists, so it is up even if Init fails; a second one must not be created.
        ~CFinisher() { FinishBringUp(BringUpState::Up); }
    };
    const CFinisher finisher;
    WithService([](CZVNSrvcMgnt& service) { service.Init(); });
}

/// Blocks until no other thread is bringing the service up.
void AwaitBringUp()
{
    while (bringUp.load(std::memory_order_acquire) == BringUpState::Building)
        AwaitChange(bringUp, BringUpState::Building);
}

/// Waits for a bring-up in progress and prevents a later one, whose window nobody would stop. Any other
/// thread that requests one blocks until the process ends; on this thread the request throws.
void EndBringUp()
{
    for (BringUpState seen = BringUpState::Building; seen != BringUpState::Up;)
    {
        AwaitBringUp();
        seen = BringUpState::Absent;
        if (bringUp.compare_exchange_strong(seen, BringUpState::Building, std::memory_order_acq_rel))
        {
            isBuilder = true;
            return;
        }
    }
}

} // namespace

void EnsureService()
{
    BringUpState seen = bringUp.load(std::memory_order_acquire);
    while (seen != BringUpState::Up)
    {
        if (seen == BringUpState::Absent)
        {
            if (!bringUp.compare_exchange_strong(seen, BringUpState::Building, std::memory_order_acq_rel))
                continue;
            isBuilder = true;
            BuildService();
            return ConnectService();
        }
        if (isBuilder)
        {
            // A simulated driver may call the factory while it is being connected. While it is being
            // loaded there is no service yet, and the call would wait for itself.
            if (g_pSrvcMgnt.Get() != nullptr)
                return;
            throw CThreadError(std::errc::resource_deadlock_would_occur, "resource deadlock would occur");
        }
        AwaitBringUp();
        seen = bringUp.load(std::memory_order_acquire);
    }
}

void CServiceOwner::Assign(std::unique_ptr<CZVNSrvcMgnt> service)
{
    Service.store(service.release(), std::memory_order_release);
}

CServiceOwner::~CServiceOwner()
{
    // If the process exits on a library thread or inside bring-up, that thread cannot be joined and its
    // callers' frames are still in use, so nothing is released before the process ends.
    if (ThreadsHaveBeenEnded() || OnLibraryThread() || isBuilder)
        return;
    ZVExitHasBegun.store(true, std::memory_order_relaxed);
    EndBringUp();
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
        NotifyChange();
}

void CServiceGate::Close() noexcept
{
    Inside.fetch_or(Closed, std::memory_order_acq_rel);
    for (std::uint32_t seen = Inside; seen != Closed; seen = Inside)
        AwaitChange(Inside, seen);
}
