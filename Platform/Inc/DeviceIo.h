/// @file
/// Control requests to devices. Functions with a BOOL result report the reason of a failure in the last
/// error. All may be called from any thread.
///
/// A request uses its memory (output, OVERLAPPED) and its event until it has completed, even after it was
/// cancelled, its handle was closed or its thread ended.
#pragma once

#include "PlatformExport.h"
#include "Waiting.h"
#include "WinTypes.h"

/// The caller's record of one request.
struct OVERLAPPED
{
    ULONG_PTR Internal;     ///< Status: STATUS_PENDING while in flight, and after a refusal at once.
    ULONG_PTR InternalHigh; ///< Bytes that were transferred.
    DWORD Offset;
    DWORD OffsetHigh;
    HANDLE hEvent; ///< Reset when a request starts, signalled on completion. If null, the file is signalled.
};
static_assert(sizeof(OVERLAPPED) == 32);

/// Value of OVERLAPPED::Internal while a request is in flight.
inline constexpr DWORD STATUS_PENDING = 0x103;

/// @name Arguments of CreateFileA
/// @{
inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD GENERIC_ALL = 0x10000000;
inline constexpr DWORD FILE_READ_DATA = 0x1;
inline constexpr DWORD FILE_WRITE_DATA = 0x2;
inline constexpr DWORD FILE_SHARE_READ = 0x1;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD FILE_FLAG_OVERLAPPED = 0x40000000;
/// @}

extern "C"
{
    /// Opens the device of a path "\\.\NAME", in any letter case; INVALID_HANDLE_VALUE on failure.
    /// ERROR_FILE_NOT_FOUND when there is none, ERROR_INVALID_PARAMETER for another disposition than
    /// OPEN_EXISTING, or the error of the device itself.
    PLATFORM_API HANDLE CreateFileA(const char* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                                    DWORD disposition, DWORD flags, HANDLE templateFile) PLATFORM_NAME(CreateFileA);

    /// Sends a control request.
    /// - TRUE: it completed successfully; `*returned` is its byte count and its event is signalled.
    /// - FALSE with ERROR_IO_PENDING: it is in flight; `*returned` is undefined.
    /// - FALSE with ERROR_MORE_DATA: like TRUE, but the output was larger than the buffer.
    /// - FALSE with any other error: it was refused; neither event nor `*returned` is set.
    ///
    /// A handle without FILE_FLAG_OVERLAPPED takes no OVERLAPPED, and the call waits for completion; any
    /// other handle requires one: ERROR_INVALID_PARAMETER.
    PLATFORM_API BOOL DeviceIoControl(HANDLE device, DWORD code, void* input, DWORD inputSize, void* output,
                                      DWORD outputSize, DWORD* returned, OVERLAPPED* overlapped)
        PLATFORM_NAME(DeviceIoControl);

    /// Cancels this thread's requests in flight on a file; TRUE even if there are none.
    PLATFORM_API BOOL CancelIo(HANDLE file) PLATFORM_NAME(CancelIo);
    /// Requests the cancellation of one request on a file, or of all with null, whichever threads sent
    /// them. ERROR_NOT_FOUND when there is nothing to cancel.
    PLATFORM_API BOOL CancelIoEx(HANDLE file, OVERLAPPED* overlapped) PLATFORM_NAME(CancelIoEx);

    /// Returns a request's result: TRUE or its error, with the transferred bytes in either case. While the request
    /// is in flight: ERROR_IO_INCOMPLETE, or with `wait` blocks on its event, or on the file if it has none. The
    /// wait consumes an automatic event. If another thread signalled the event, the result is meaningless.
    PLATFORM_API BOOL GetOverlappedResult(HANDLE file, OVERLAPPED* overlapped, DWORD* transferred, BOOL wait)
        PLATFORM_NAME(GetOverlappedResult);

    /// Closes a file or an event. Cancels the requests in flight on a file.
    PLATFORM_API BOOL CloseHandle(HANDLE handle) PLATFORM_NAME(CloseHandle);
}
