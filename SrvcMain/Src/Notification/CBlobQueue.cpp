#include "CBlobQueue.h"

#include <utility>

bool CBlobQueue::PushBack(const ZVBlob& blob)
{
    ZVBlob copy = blob;
    CBlocks fresh;
    for (;;)
    {
        {
            const CScopedLock lock(QueueLock);
            if (!HasRoom() && !Spare.empty())
                Blocks.splice(Blocks.end(), Spare, Spare.begin());
            if (!HasRoom())
                Blocks.splice(Blocks.end(), fresh);
            if (HasRoom())
            {
                Recycle(fresh); // Another producer has added a block meanwhile.
                return Put(std::move(copy));
            }
        }
        fresh.emplace_back();
    }
}

CBlobQueue::CBlocks CBlobQueue::Prepare(ZVBlob blob)
{
    CBlocks prepared(1);
    prepared.front().Entries[0] = std::move(blob);
    return prepared;
}

bool CBlobQueue::Append(CBlocks& prepared) noexcept
{
    ZVBlob blob = std::move(prepared.front().Entries[0]);
    const CScopedLock lock(QueueLock);
    if (HasRoom())
        Recycle(prepared);
    else
        Blocks.splice(Blocks.end(), prepared);
    return Put(std::move(blob));
}

/// Appends an entry; there is room for it.
bool CBlobQueue::Put(ZVBlob&& blob) noexcept
{
    CBlock& last = Blocks.back();
    last.Entries[last.Count++] = std::move(blob);
    if (Size++ == 0)
        EntriesHint.store(true, std::memory_order_relaxed);
    return std::exchange(IsAsleep, false);
}

/// Keeps empty blocks for reuse. The caller frees those that remain in the list, without the lock.
void CBlobQueue::Recycle(CBlocks& blocks) noexcept
{
    while (!blocks.empty() && Spare.size() < MaxSpare)
        Spare.splice(Spare.begin(), blocks, blocks.begin());
}

bool CBlobQueue::FallAsleep()
{
    const CScopedLock lock(QueueLock);
    IsAsleep = Size == 0;
    return IsAsleep;
}

bool CBlobQueue::TakeNext(ZVBlob& blob)
{
    if (Claimed.fetch_add(1, std::memory_order_acq_rel) >= BatchSize && !TakeBatch())
        return false;
    if (Index == Current->Count)
    {
        ++Current;
        Index = 0;
    }
    blob = std::move(Current->Entries[Index++]);
    return true;
}

/// Exchanges the delivered batch for all queued entries and claims the first of them.
/// @return false when there is none.
bool CBlobQueue::TakeBatch()
{
    CBlocks delivered; // Freed after the locks.
    const CScopedLock taken(TakenLock);
    if (IsDropped)
        return false;
    for (CBlock& block : Taken)
        block.Count = 0;
    delivered.swap(Taken);
    {
        const CScopedLock lock(QueueLock);
        Recycle(delivered);
        Taken.swap(Blocks);
        BatchSize = std::exchange(Size, 0);
        EntriesHint.store(false, std::memory_order_relaxed);
    }
    Current = Taken.begin();
    Index = 0;
    Claimed.store(BatchSize > 0 ? 1 : 0, std::memory_order_release);
    return BatchSize > 0;
}

void CBlobQueue::Drop()
{
    CBlocks queued; // Freed after the locks.
    CBlocks* batch = nullptr;
    std::uint32_t first = 0;
    {
        const CScopedLock taken(TakenLock);
        IsDropped = true;
        // From here on the worker exchanges no batch, so the blocks stay, and it claims no entry.
        first = Claimed.exchange(NoneLeft, std::memory_order_acq_rel);
        batch = &Taken;
        const CScopedLock lock(QueueLock);
        queued.swap(Blocks);
        Size = 0;
        EntriesHint.store(false, std::memory_order_relaxed);
    }
    std::uint32_t index = 0;
    for (CBlock& block : *batch)
        for (std::size_t i = 0; i < block.Count; ++i)
            if (index++ >= first)
                block.Entries[i].reset();
}
