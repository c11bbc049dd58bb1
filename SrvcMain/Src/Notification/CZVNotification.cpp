#include "CZVNotification.h"

#include "TracePoint.h"

#include <chrono>
#include <utility>

namespace
{

/// A stop waits for a worker that has not begun yet: at most this many pauses of 1 ms.
constexpr int EntryPauses = 10;
/// A worker that became idle less than this ago may not have reached its wait.
constexpr std::int64_t MinimumRestMs = 3;
constexpr std::chrono::milliseconds Pause{1};
/// A sleep and its wake-up cost each side a system call, many times the cost of yielding the CPU. A
/// busy producer has posted again by then; an idle thread loses next to nothing before it sleeps.
constexpr int YieldsBeforeSleep = 8;

thread_local const CZVNotification* currentWorker = nullptr;

std::int64_t MonotonicNs()
{
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

} // namespace

bool CZVNotification::IsOwnThread() const noexcept
{
    return currentWorker == this;
}

CZVNotification::~CZVNotification()
{
    Queue.Drop();
    if (!IsOwnThread())
    {
        StopNotifyThread();
        return;
    }
    // The handler itself released the last owner, or the process exits on this thread. The worker
    // cannot be joined here; it exits without touching this object again. Another object at the same
    // address is not this worker's.
    *DestroyedFlag = true;
    currentWorker = nullptr;
    Thread.detach();
}

bool CZVNotification::RunNotifyThread(CZVNotifyHandler* handler, std::string name)
{
    if ((State & ZV_NOTIFY_RUNNING) != 0)
    {
        ZV_TRACE(NotifyThreadRefused, Name);
        return false;
    }
    Handler = handler;
    Name = std::move(name);
    State |= ZV_NOTIFY_RUNNING;
    Thread = StartLibraryThread([this] { Work(); });
    LastActive = MonotonicNs();
    ZV_TRACE(NotifyThreadStarted, Name);
    return true;
}

bool CZVNotification::SendNorification(const ZVBlob& blob)
{
    if ((State & ZV_NOTIFY_RUNNING) == 0)
        return false;
    if (Queue.PushBack(blob))
        WakeEvent.Wake();
    return true;
}

CZVNotification::CPrepared CZVNotification::Prepare(ZVBlob blob)
{
    return CBlobQueue::Prepare(std::move(blob));
}

bool CZVNotification::SendPrepared(CPrepared& prepared)
{
    if ((State & ZV_NOTIFY_RUNNING) == 0)
        return false;
    if (Queue.Append(prepared))
        WakeEvent.Wake();
    return true;
}

bool CZVNotification::StopNotifyThread()
{
    if ((State & ZV_NOTIFY_RUNNING) == 0)
        return false;
    ZV_TRACE(NotifyThreadStopping, Name);
    AwaitRest();
    State |= ZV_NOTIFY_STOPPING;
    WakeEvent.Wake();
    if (Thread.joinable())
    {
        if (Thread.get_id() == std::this_thread::get_id())
            throw CThreadError(std::errc::resource_deadlock_would_occur, "resource deadlock would occur");
        try
        {
            Thread.join();
        }
        catch (const std::system_error&)
        {
            throw CThreadError(std::errc::no_such_process, "no such process");
        }
    }
    State &= ~(ZV_NOTIFY_RUNNING | ZV_NOTIFY_ENTERED);
    ZV_TRACE(NotifyThreadStopped, Name);
    return true;
}

/// Gives a worker that has just started, or has just emptied the queue, the time to reach its wait.
void CZVNotification::AwaitRest()
{
    CWaitEvent nobodySignals;
    for (int i = 0; i < EntryPauses && (State & ZV_NOTIFY_ENTERED) == 0; ++i)
        nobodySignals.WaitFor(Pause);
    StopTime = MonotonicNs();
    if ((StopTime - LastActive) / 1'000'000 < MinimumRestMs)
        nobodySignals.WaitFor(Pause);
}

void CZVNotification::Work()
{
    bool isDestroyed = false;
    DestroyedFlag = &isDestroyed;
    currentWorker = this;
    State |= ZV_NOTIFY_ENTERED;
    LastActive = MonotonicNs();
    ZV_TRACE(NotifyThreadEntered, Name);
    for (;;)
    {
        AwaitWork();
        const std::uint32_t state = State;
        if ((state & ZV_NOTIFY_RUNNING) == 0 || (state & ZV_NOTIFY_STOPPING) != 0)
            break;
        if (!Drain(isDestroyed))
            return;
        LastActive = MonotonicNs();
    }
    ZV_TRACE(NotifyThreadLeft, Name);
}

/// Returns when there are entries or a stop was requested, and sometimes without either.
void CZVNotification::AwaitWork()
{
    // Without a handler nothing is delivered, so only a stop matters.
    if (Handler == nullptr)
    {
        WakeEvent.Wait();
        return;
    }
    for (int yields = 0; yields < YieldsBeforeSleep && !Queue.HasEntries(); ++yields)
        std::this_thread::yield();
    if (Queue.FallAsleep())
        WakeEvent.Wait();
}

/// Delivers until the queue is empty, even if a stop is requested meanwhile.
/// @return false when a handler has destroyed this object.
bool CZVNotification::Drain(const bool& isDestroyed)
{
    ZVBlob blob;
    while (Handler != nullptr && Queue.TakeNext(blob))
    {
        Handler->NotifyCallback(Name, blob);
        blob.reset();
        if (isDestroyed)
            return false;
    }
    return true;
}
