/// @file
/// The planned change of one listed record.
#pragma once

#include "AdapterRecord.h"

#include <cstdint>
#include <cstring>

/// What a sweep or a merge does to one record, planned with no lock held. A plan never contains
/// ZV_DEV_DRIVER_UNINSTALLED, which a watcher may set meanwhile; everything else in a listed record is
/// changed by the service's thread alone.
class CRecordChange
{
public:
    explicit CRecordChange(const ZVAdapterRecord& record)
        : Record(record), Version(record), OldFlags(LoadStateFlags(*record)), NewFlags(OldFlags)
    {
    }

    /// Plans to set or to clear a bit.
    /// @return true when that changes the planned flags.
    bool Put(std::uint32_t bit, bool isSet)
    {
        const std::uint32_t before = NewFlags;
        NewFlags = isSet ? NewFlags | bit : NewFlags & ~bit;
        return NewFlags != before;
    }

    /// Plans to copy the version of a record that is in no list.
    /// @return false when the versions are equal.
    bool TakeVersion(const ZVAdapterRecord& fresh)
    {
        if (std::memcmp(Version->DriverVersion, fresh->DriverVersion, sizeof fresh->DriverVersion) == 0)
            return false;
        Version = fresh;
        return true;
    }

    /// Carries the plan out. Allocates nothing.
    void Apply() const noexcept
    {
        if (Version != Record)
            TakeDriverVersion(*Record, *Version);
        if (OldFlags == NewFlags)
            return;
        SetStateFlags(*Record, NewFlags & ~OldFlags);
        ClearStateFlags(*Record, OldFlags & ~NewFlags);
    }

private:
    ZVAdapterRecord Record;
    ZVAdapterRecord Version; ///< The record whose version this one is to have.
    std::uint32_t OldFlags;
    std::uint32_t NewFlags;
};
