/// @file
/// A named worker thread with a first-in first-out queue of shared blobs.
#pragma once

#include "CBlobQueue.h"
#include "CWaitEvent.h"
#include "LibraryThread.h"
#include "MessageBlob.h"
#include "NotifyHandlers.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>

/// Flag bits of a notification thread's state word.
inline constexpr std::uint32_t ZV_NOTIFY_RUNNING = 0x1;  ///< Started, and not joined yet.
inline constexpr std::uint32_t ZV_NOTIFY_STOPPING = 0x2; ///< A stop was requested; never cleared.
inline constexpr std::uint32_t ZV_NOTIFY_ENTERED = 0x4;  ///< The worker runs its loop.

/// Runs work on a thread other than the one that requests it. A producer posts a blob and returns; the
/// worker passes each blob to the one handler, in order, without holding a lock. Lifecycle: one start, any
/// number of posts, one stop; a stopped object is never restarted.
class CZVNotification
{
public:
    CZVNotification() = default;
    /// Drops all queued entries, including those after a running handler, and stops. On its own worker,
    /// where it cannot join, it detaches the thread instead.
    ~CZVNotification();
    CZVNotification(const CZVNotification&) = delete;
    CZVNotification& operator=(const CZVNotification&) = delete;

    /// Starts the worker without waiting for it to run.
    /// @param handler not owned; must be valid until the thread has stopped. With null, nothing
    ///        is delivered.
    /// @return false when it is already running; nothing changes then.
    /// @throws std::system_error "resource unavailable try again" when no thread can be created.
    bool RunNotifyThread(CZVNotifyHandler* handler, std::string name);

    /// Queues one blob, from any thread, without waiting for the handler.
    /// @return false when the thread does not run; the blob is not queued.
    bool SendNorification(const ZVBlob& blob);

    /// A blob in its queue entry.
    using CPrepared = CBlobQueue::CBlocks;
    /// Allocates the entry, for a caller that must not fail after it has committed to a message.
    /// @throws std::bad_alloc
    static CPrepared Prepare(ZVBlob blob);
    /// Queues a prepared blob as SendNorification does, without allocating.
    bool SendPrepared(CPrepared& prepared);

    /// Stops the worker and joins it. A worker that is delivering empties the queue first.
    /// @return false when the thread does not run.
    /// @throws std::system_error "resource deadlock would occur" on this object's own worker.
    bool StopNotifyThread();

    /// Returns true on this object's own worker.
    bool IsOwnThread() const noexcept;

private:
    static constexpr std::size_t CacheLine = 64;

    void Work();
    void AwaitWork();
    bool Drain(const bool& isDestroyed);
    void AwaitRest();

    // The constants, the queue and the wake-up are on separate cache lines, so that writing one does not slow down
    // reading another.
    std::thread Thread;                  ///< Used by the starting and the stopping thread only.
    std::string Name;                    ///< Constant while the worker runs.
    CZVNotifyHandler* Handler = nullptr; ///< Constant while the worker runs.
    std::atomic<std::uint32_t> State{0}; ///< ZV_NOTIFY bits. Atomic, guarded by no lock.
    std::int64_t StopTime = 0;           ///< Monotonic nanoseconds; the stopping thread only.

    CBlobQueue Queue;                        ///< Has its own locks.
    alignas(CacheLine) CWaitEvent WakeEvent; ///< Has its own lock, the wake lock.
    std::atomic<std::int64_t> LastActive{0}; ///< Monotonic nanoseconds: when the worker became idle.
    /// Set by a destructor that runs on the worker, to report that the object no longer exists. Used on
    /// the worker only.
    bool* DestroyedFlag = nullptr;
};
