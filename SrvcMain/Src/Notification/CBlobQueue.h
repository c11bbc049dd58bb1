/// @file
/// The queue of a notification thread.
#pragma once

#include "Lock.h"
#include "MessageBlob.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>

/// A first-in first-out queue for any number of producers and one consumer, the worker. A doubly linked list of
/// blocks with several entries each: a post costs one critical section and no allocation while blocks can be
/// reused. The worker takes all blocks in one step, so it contends with the producers once per batch.
class CBlobQueue
{
public:
    /// Entries per block. A node then takes just under a kilobyte, the largest size that the C library of Linux
    /// keeps per thread.
    static constexpr std::size_t BlockSize = 60;

    struct CBlock
    {
        std::uint32_t Count = 0; ///< Entries ever put into the block since it was taken into use.
        std::array<ZVBlob, BlockSize> Entries;
    };
    using CBlocks = std::list<CBlock>;

    /// @name Producers, any thread
    /// @{

    /// @return true when the worker waits for work and the caller must wake it.
    /// @throws std::bad_alloc, and the blob is not queued.
    bool PushBack(const ZVBlob& blob) ZV_EXCLUDES(QueueLock);

    /// Creates a block with this one entry, for a caller that must not fail after it has committed to a message.
    /// @throws std::bad_alloc
    static CBlocks Prepare(ZVBlob blob);
    /// Queues the entry of a prepared block as PushBack does, without allocating.
    bool Append(CBlocks& prepared) noexcept ZV_EXCLUDES(QueueLock);

    /// Drops all entries, those that the worker has taken but not delivered included. The worker gets no further
    /// entry.
    void Drop() ZV_EXCLUDES(TakenLock, QueueLock);
    /// @}

    /// @name The worker
    /// @{

    /// May be out of date when it returns.
    bool HasEntries() const noexcept { return EntriesHint.load(std::memory_order_relaxed); }

    /// Announces that the worker waits for work.
    /// @return false when there are entries.
    bool FallAsleep() ZV_EXCLUDES(QueueLock);

    /// Moves the next entry to `blob`.
    /// @return false when there is none.
    bool TakeNext(ZVBlob& blob) ZV_EXCLUDES(TakenLock);
    /// @}

private:
    static constexpr std::size_t CacheLine = 64;
    /// Blocks kept for reuse, enough for a burst of about a thousand entries. Further blocks are freed.
    static constexpr std::size_t MaxSpare = 16;
    static constexpr std::uint32_t NoneLeft = 0x8000'0000; ///< More than any batch has.

    bool HasRoom() const ZV_REQUIRES(QueueLock) { return !Blocks.empty() && Blocks.back().Count < BlockSize; }
    bool Put(ZVBlob&& blob) noexcept ZV_REQUIRES(QueueLock);
    void Recycle(CBlocks& blocks) noexcept ZV_REQUIRES(QueueLock);
    bool TakeBatch() ZV_EXCLUDES(TakenLock);

    // Data that producers write, and data that the worker writes, on separate cache lines.
    alignas(CacheLine) CLock QueueLock;
    CBlocks Blocks ZV_GUARDED_BY(QueueLock);
    CBlocks Spare ZV_GUARDED_BY(QueueLock); ///< Empty blocks for reuse.
    std::uint32_t Size ZV_GUARDED_BY(QueueLock) = 0;
    bool IsAsleep ZV_GUARDED_BY(QueueLock) = false; ///< The worker waits, and no producer has woken it yet.
    std::atomic<bool> EntriesHint{false};           ///< Written under QueueLock, read without it.

    /// Guards the exchange of batches against Drop, which alone contends for it. Taken before QueueLock.
    alignas(CacheLine) CLock TakenLock;
    CBlocks Taken ZV_GUARDED_BY(TakenLock);
    bool IsDropped ZV_GUARDED_BY(TakenLock) = false;
    /// Index of the first entry of the batch that nobody owns. The worker claims one entry at a time and Drop all
    /// that remain, so no lock is needed per entry.
    std::atomic<std::uint32_t> Claimed{0};
    std::uint32_t BatchSize = 0; ///< Used on the worker only, like the two below.
    CBlocks::iterator Current;
    std::size_t Index = 0;
};
