#include "AdapterRecord.h"

#include <atomic>

namespace
{

/// One lock for the versions of all records, since a version changes only when a driver is updated.
CLock versionLock;

/// Raised after each change. Atomic, guarded by no lock.
std::atomic<std::uint64_t> changeCount{0};

void CountChange()
{
    changeCount.fetch_add(1, std::memory_order_release);
}

constexpr std::size_t FlagsBegin = offsetof(_ZV_SRVC_DEVICE_INFO, StateFlags);
static_assert(FlagsBegin + sizeof(_ZV_SRVC_DEVICE_INFO::StateFlags) == sizeof(_ZV_SRVC_DEVICE_INFO));

/// Copies all texts. In blocks of a few vector registers: for one copy of the whole constant size GCC
/// emits a string instruction, which takes more than twice as long.
void CopyTexts(const std::byte* from, std::byte* to)
{
    constexpr std::size_t block = 48;
    static_assert(FlagsBegin % block == 0);
    for (std::size_t begin = 0; begin < FlagsBegin; begin += block)
        std::memcpy(to + begin, from + begin, block);
}

/// The record's flags as an atomic word; its address is 4-byte aligned by the layout.
std::atomic_ref<std::uint32_t> Flags(const _ZV_SRVC_DEVICE_INFO& record)
{
    return std::atomic_ref<std::uint32_t>(const_cast<_ZV_SRVC_DEVICE_INFO&>(record).StateFlags);
}

} // namespace

std::uint32_t LoadStateFlags(const _ZV_SRVC_DEVICE_INFO& record)
{
    return Flags(record).load(std::memory_order_relaxed);
}

void StoreStateFlags(_ZV_SRVC_DEVICE_INFO& record, std::uint32_t flags)
{
    Flags(record).store(flags, std::memory_order_relaxed);
    CountChange();
}

bool SetStateFlags(_ZV_SRVC_DEVICE_INFO& record, std::uint32_t bits)
{
    if ((Flags(record).fetch_or(bits, std::memory_order_relaxed) & bits) == bits)
        return false;
    CountChange();
    return true;
}

bool ClearStateFlags(_ZV_SRVC_DEVICE_INFO& record, std::uint32_t bits)
{
    if ((Flags(record).fetch_and(~bits, std::memory_order_relaxed) & bits) == 0)
        return false;
    CountChange();
    return true;
}

std::string DriverVersionOf(const _ZV_SRVC_DEVICE_INFO& record)
{
    const CScopedLock lock(versionLock);
    return std::string(FieldText(record.DriverVersion));
}

void TakeDriverVersion(_ZV_SRVC_DEVICE_INFO& record, const _ZV_SRVC_DEVICE_INFO& from)
{
    const CScopedLock lock(versionLock);
    std::memcpy(record.DriverVersion, from.DriverVersion, sizeof record.DriverVersion);
    CountChange();
}

std::uint64_t RecordChanges()
{
    return changeCount.load(std::memory_order_acquire);
}

void CopyRecord(const _ZV_SRVC_DEVICE_INFO& record, void* to)
{
    auto* const bytes = static_cast<std::byte*>(to);
    {
        const CScopedLock lock(versionLock);
        CopyTexts(reinterpret_cast<const std::byte*>(&record), bytes);
    }
    const std::uint32_t flags = LoadStateFlags(record);
    std::memcpy(bytes + FlagsBegin, &flags, sizeof flags);
}
