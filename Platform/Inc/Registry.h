/// @file
/// The registry. Every function returns its error number and leaves the last error unchanged.
///
/// Names compare without regard to case (of ASCII letters) and keep the case in which they were
/// written first. Paths may have several parts, separated by backslashes; one at the front gives
/// ERROR_BAD_PATHNAME. A closed or unknown handle gives ERROR_INVALID_HANDLE, a handle on a key that
/// was deleted meanwhile ERROR_KEY_DELETED. All may be called from any thread.
#pragma once

#include "PlatformExport.h"
#include "WinTypes.h"

/// Access rights of an open key.
using REGSAM = DWORD;

/// Always open; closing it does nothing. The 32-bit number is sign-extended.
inline const HKEY HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(std::uintptr_t{0xFFFFFFFF80000002});

/// @name Value types and access rights
/// @{
inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_MULTI_SZ = 7;
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_SET_VALUE = 0x2;
inline constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;
/// @}

extern "C"
{
    /// Opens an existing key with all rights that the caller has. A null or empty `subKey` returns `key`
    /// itself, not a second handle. On failure `*result` is null.
    PLATFORM_API LSTATUS RegOpenKeyA(HKEY key, const char* subKey, HKEY* result) PLATFORM_NAME(RegOpenKeyA);
    PLATFORM_API LSTATUS RegOpenKeyW(HKEY key, const WCHAR* subKey, HKEY* result) PLATFORM_NAME(RegOpenKeyW);

    /// Opens a key and creates missing keys of its path. No key can be created directly below
    /// HKEY_LOCAL_MACHINE: ERROR_INVALID_PARAMETER.
    PLATFORM_API LSTATUS RegCreateKeyA(HKEY key, const char* subKey, HKEY* result) PLATFORM_NAME(RegCreateKeyA);

    /// Reads a value. All out-arguments may be null, but data without a size is ERROR_INVALID_PARAMETER.
    /// - Data null: only size and type.
    /// - Buffer too small: ERROR_MORE_DATA with the required size; the data are unchanged.
    /// - No such value: ERROR_FILE_NOT_FOUND with type REG_NONE; size and data are unchanged.
    /// - Text stored without a NUL receives one if it fits; the size does not count it.
    PLATFORM_API LSTATUS RegQueryValueExA(HKEY key, const char* valueName, DWORD* reserved, DWORD* type, BYTE* data,
                                          DWORD* size) PLATFORM_NAME(RegQueryValueExA);
    /// Creates or replaces a value; the data are copied. ERROR_ACCESS_DENIED on a key opened without the right.
    PLATFORM_API LSTATUS RegSetValueExA(HKEY key, const char* valueName, DWORD reserved, DWORD type, const BYTE* data,
                                        DWORD size) PLATFORM_NAME(RegSetValueExA);
    /// Does nothing on a good handle: values are always stored at once.
    PLATFORM_API LSTATUS RegFlushKey(HKEY key) PLATFORM_NAME(RegFlushKey);
    /// Closes a handle. A key that was deleted is freed with its last handle.
    PLATFORM_API LSTATUS RegCloseKey(HKEY key) PLATFORM_NAME(RegCloseKey);
    /// Deletes a value of `subKey`, which is opened for this (an empty name opens `key` again), or through
    /// `key` itself if `subKey` is null. ERROR_FILE_NOT_FOUND if there is no such value.
    PLATFORM_API LSTATUS RegDeleteKeyValueA(HKEY key, const char* subKey, const char* valueName)
        PLATFORM_NAME(RegDeleteKeyValueA);
    /// Deletes a key with its values; ERROR_ACCESS_DENIED when it has subkeys.
    PLATFORM_API LSTATUS RegDeleteKeyA(HKEY key, const char* subKey) PLATFORM_NAME(RegDeleteKeyA);
}
