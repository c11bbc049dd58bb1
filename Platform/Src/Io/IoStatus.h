/// @file
/// Error numbers as the status of an OVERLAPPED, and back.
#pragma once

#include "DeviceIo.h"

namespace Platform
{

inline constexpr ULONG_PTR StatusCancelled = 0xC0000120;
inline constexpr ULONG_PTR StatusBufferOverflow = 0x80000005;
inline /// Drivers complete with error numbers; an OVERLAPPED holds the NT status that Windows would store.
    constexpr ULONG_PTR StatusOfErrors = 0xC0070000; ///< With an error number in its low half.

/// ERROR_MORE_DATA is only a warning on Windows: the output is delivered.
constexpr bool IsFailure(DWORD error)
{
    return error != ERROR_SUCCESS && error != ERROR_MORE_DATA;
}

constexpr ULONG_PTR StatusOf(DWORD error)
{
    switch (error)
    {
    case ERROR_SUCCESS:
        return 0;
    case ERROR_OPERATION_ABORTED:
        return StatusCancelled;
    case ERROR_MORE_DATA:
        return StatusBufferOverflow;
    default:
        return error > 0xFFFF ? error : StatusOfErrors | error;
    }
}

/// Returns 0 for every status below the error range, which includes STATUS_PENDING.
constexpr DWORD ErrorOf(ULONG_PTR status)
{
    if (status < 0x80000000)
        return ERROR_SUCCESS;
    if (status == StatusCancelled || status == StatusBufferOverflow)
        return status == StatusCancelled ? ERROR_OPERATION_ABORTED : ERROR_MORE_DATA;
    return static_cast<DWORD>((status & 0xFFFF0000) == StatusOfErrors ? status & 0xFFFF : status);
}

} // namespace Platform
