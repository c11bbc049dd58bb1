/// @file
/// Race-free use of adapter records. After a record has entered a list only its `StateFlags` and
/// `DriverVersion` change; the flags are used as an atomic word and the version under one lock.
#pragma once

#include "Lock.h"

#include "ZVDeviceInfo.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

using ZVAdapterRecord = std::shared_ptr<_ZV_SRVC_DEVICE_INFO>;
using ZVAdapterRecords = std::vector<ZVAdapterRecord>;

std::uint32_t LoadStateFlags(const _ZV_SRVC_DEVICE_INFO& record);
void StoreStateFlags(_ZV_SRVC_DEVICE_INFO& record, std::uint32_t flags);
/// Sets or clears bits in one atomic step, because several threads change different bits.
/// @return true when the word changed.
bool SetStateFlags(_ZV_SRVC_DEVICE_INFO& record, std::uint32_t bits);
bool ClearStateFlags(_ZV_SRVC_DEVICE_INFO& record, std::uint32_t bits);

std::string DriverVersionOf(const _ZV_SRVC_DEVICE_INFO& record);
/// Copies the version of `from`, a record that no other thread can access yet.
void TakeDriverVersion(_ZV_SRVC_DEVICE_INFO& record, const _ZV_SRVC_DEVICE_INFO& from);

/// Counts the changes of flags and versions of all records. A copy that was begun after the count was read is up to
/// date while the count stays the same.
std::uint64_t RecordChanges();

/// Copies all 724 bytes to memory of any alignment while the service may change the record.
void CopyRecord(const _ZV_SRVC_DEVICE_INFO& record, void* to);

/// Returns the text of a fixed-width field, up to its NUL or its end.
template <std::size_t Size>
std::string_view FieldText(const char (&field)[Size])
{
    return {field, strnlen(field, Size)};
}
