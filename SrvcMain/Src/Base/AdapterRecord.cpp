#include "AdapterRecord.h"

#include <atomic>

namespace
{

/// One lock for the versions of all records: they change once in a driver's update.
CLock versionLock;

constexpr std::size_t VersionBegin = offsetof(_ZV_SRVC_DEVICE_INFO, DriverVersion);
constexpr std::size_t VersionEnd = VersionBegin + sizeof(_ZV_SRVC_DEVICE_INFO::DriverVersion);
constexpr std::size_t FlagsBegin = offsetof(_ZV_SRVC_DEVICE_INFO, StateFlags);

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
}

bool SetStateFlags(_ZV_SRVC_DEVICE_INFO& record, std::uint32_t bits)
{
    return (Flags(record).fetch_or(bits, std::memory_order_relaxed) & bits) != bits;
}

bool ClearStateFlags(_ZV_SRVC_DEVICE_INFO& record, std::uint32_t bits)
{
    return (Flags(record).fetch_and(~bits, std::memory_order_relaxed) & bits) != 0;
}

std::string DriverVersionOf(const _ZV_SRVC_DEVICE_INFO& record)
{
    const CScopedLock lock(versionLock);
    return std::string(FieldText(record.DriverVersion));
}

bool TakeDriverVersion(_ZV_SRVC_DEVICE_INFO& record, const _ZV_SRVC_DEVICE_INFO& from)
{
    // No other thread can access the other record yet.
    const CScopedLock lock(versionLock);
    if (std::memcmp(record.DriverVersion, from.DriverVersion, sizeof record.DriverVersion) == 0)
        return false;
    std::memcpy(record.DriverVersion, from.DriverVersion, sizeof record.DriverVersion);
    return true;
}

_ZV_SRVC_DEVICE_INFO CopyRecord(const _ZV_SRVC_DEVICE_INFO& record)
{
    _ZV_SRVC_DEVICE_INFO copy;
    auto* to = reinterpret_cast<std::byte*>(&copy);
    const auto* from = reinterpret_cast<const std::byte*>(&record);
    std::memcpy(to, from, VersionBegin);
    {
        const CScopedLock lock(versionLock);
        std::memcpy(to + VersionBegin, from + VersionBegin, VersionEnd - VersionBegin);
    }
    std::memcpy(to + VersionEnd, from + VersionEnd, FlagsBegin - VersionEnd);
    copy.StateFlags = LoadStateFlags(record);
    return copy;
}
