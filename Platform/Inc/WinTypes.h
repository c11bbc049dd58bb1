/// @file
/// Basic types and numbers of the Windows API, with the widths that they have on 64-bit Windows.
#pragma once

#include <cstdint>

/// Calling conventions; there is only one where the stand-in runs.
#define WINAPI
#define CALLBACK

/// @name Basic types
/// `long` has 32 bits on 64-bit Windows, so LONG is not `long` here.
/// @{
using BYTE = std::uint8_t;
using UCHAR = std::uint8_t;
using WORD = std::uint16_t;
using USHORT = std::uint16_t;
using DWORD = std::uint32_t;
using ULONG = std::uint32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using LSTATUS = LONG; ///< An ERROR_ number, the result of the registry functions.
using BOOL = int;     ///< Any number other than 0 means true.
using BOOLEAN = unsigned char;
using ULONG64 = std::uint64_t;
using ULONG_PTR = std::uint64_t;
using LPARAM = std::int64_t;
using WPARAM = std::uint64_t;
using LRESULT = std::int64_t;
using WCHAR = char16_t; ///< A UTF-16 code unit, unlike wchar_t on Linux.
/// @}

/// @name Handles
/// Numbers of a table, never pointers: a closed or invented handle is detected. The types differ as in Windows, so
/// that the compiler rejects a handle of the wrong kind.
/// @{
using HANDLE = void*;
using HDEVINFO = void*;
using HKEY = struct HKEY__*;
using HMODULE = struct HINSTANCE__*;
using HWND = struct HWND__*;
using HINSTANCE = HMODULE;
using HICON = struct HICON__*;
using HCURSOR = HICON;
using HBRUSH = struct HBRUSH__*;
using HMENU = struct HMENU__*;
/// @}

using ATOM = WORD; ///< The number of a window class.

/// A 128-bit identifier, in the memory layout of Windows.
struct GUID
{
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    bool operator==(const GUID&) const = default;
};
static_assert(sizeof(GUID) == 16);

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;

/// The failure result of CreateFileA and of the calls that open device sets and their keys.
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(~std::uintptr_t{0});

/// @name Error numbers
/// Those that several headers share, as GetLastError returns them.
/// @{
inline constexpr LONG ERROR_SUCCESS = 0;
inline constexpr LONG ERROR_FILE_NOT_FOUND = 2;
inline constexpr LONG ERROR_PATH_NOT_FOUND = 3;
inline constexpr LONG ERROR_ACCESS_DENIED = 5;
inline constexpr LONG ERROR_INVALID_HANDLE = 6;
inline constexpr LONG ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr LONG ERROR_INVALID_DATA = 13;
inline constexpr LONG ERROR_GEN_FAILURE = 31; ///< Of a simulated fault without a number.
inline constexpr LONG ERROR_INVALID_PARAMETER = 87;
inline constexpr LONG ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr LONG ERROR_MOD_NOT_FOUND = 126;
inline constexpr LONG ERROR_PROC_NOT_FOUND = 127;
inline constexpr LONG ERROR_BAD_PATHNAME = 161; ///< A registry path that begins with a backslash.
inline constexpr LONG ERROR_ALREADY_EXISTS = 183;
inline constexpr LONG ERROR_MORE_DATA = 234; ///< A warning in device I/O: the output is delivered.
inline constexpr LONG ERROR_NO_MORE_ITEMS = 259;
inline constexpr LONG ERROR_OPERATION_ABORTED = 995;    ///< The request was cancelled.
inline constexpr LONG ERROR_IO_INCOMPLETE = 996;        ///< The request is in flight, and the caller does not wait.
inline constexpr LONG ERROR_IO_PENDING = 997;           ///< Not a failure: the request is in flight.
inline constexpr LONG ERROR_NOACCESS = 998;             ///< A null pointer with a size.
inline constexpr LONG ERROR_KEY_DELETED = 1018;         ///< The handle is open, but its key has been deleted.
inline constexpr DWORD RPC_S_SERVER_UNAVAILABLE = 1722; ///< The server of a shared machine cannot be reached.
inline constexpr LONG ERROR_NOT_FOUND = 1168;           ///< No request to cancel.
inline constexpr LONG ERROR_DEVICE_REMOVED = 1617;
inline constexpr LONG ERROR_INVALID_USER_BUFFER = 1784; ///< A record with a wrong cbSize.
/// @}
