/// @file
/// Device sets, device properties and node status. Functions with a BOOL result leave the reason of a
/// failure in the last error. All may be called from any thread.
#pragma once

#include "PlatformExport.h"
#include "Registry.h"
#include "WinTypes.h"

using DEVINST = DWORD;
using CONFIGRET = DWORD;

/// One device of a set.
struct SP_DEVINFO_DATA
{
    DWORD cbSize; ///< 32, put in by the caller.
    GUID ClassGuid;
    DEVINST DevInst;
    ULONG_PTR Reserved;
};
static_assert(sizeof(SP_DEVINFO_DATA) == 32);

inline constexpr DWORD DIGCF_PRESENT = 0x2;
inline constexpr DWORD DIGCF_ALLCLASSES = 0x4;

inline constexpr DWORD SPDRP_DEVICEDESC = 0;
inline constexpr DWORD SPDRP_HARDWAREID = 1;
inline constexpr DWORD SPDRP_CLASS = 7;
inline constexpr DWORD SPDRP_CLASSGUID = 8;
inline constexpr DWORD SPDRP_DRIVER = 9;
inline constexpr DWORD SPDRP_FRIENDLYNAME = 12;
inline constexpr DWORD SPDRP_MAXIMUM_PROPERTY = 0x25;

inline constexpr DWORD ERROR_INVALID_CLASS = 0xE0000206;
inline constexpr DWORD ERROR_INVALID_REG_PROPERTY = 0xE0000209;
inline constexpr DWORD ERROR_NO_SUCH_DEVINST = 0xE000020B;

inline constexpr CONFIGRET CR_SUCCESS = 0;
inline constexpr CONFIGRET CR_INVALID_POINTER = 3;
inline constexpr CONFIGRET CR_INVALID_FLAG = 4;
inline constexpr CONFIGRET CR_NO_SUCH_DEVINST = 0xD;
inline constexpr CONFIGRET CR_FAILURE = 0x13;

inline constexpr ULONG DN_DRIVER_LOADED = 0x2;
inline constexpr ULONG DN_STARTED = 0x8;
inline constexpr ULONG DN_HAS_PROBLEM = 0x400;
inline constexpr ULONG DN_NO_SHOW_IN_DM = 0x40000000;

extern "C"
{
    /// Lists the classes of that name; none is a success with a required size of 0. Too little room:
    /// ERROR_INSUFFICIENT_BUFFER with the required size.
    PLATFORM_API BOOL SetupDiClassGuidsFromNameW(const WCHAR* className, GUID* guids, DWORD guidCount,
                                                 DWORD* requiredSize);

    /// Takes a snapshot of the devices; INVALID_HANDLE_VALUE on failure. Without DIGCF_PRESENT it also
    /// holds absent ones, without DIGCF_ALLCLASSES those of one class. `enumerator` must be null.
    PLATFORM_API HDEVINFO SetupDiGetClassDevsW(const GUID* classGuid, const WCHAR* enumerator, HWND parent,
                                               DWORD flags);
    PLATFORM_API BOOL SetupDiDestroyDeviceInfoList(HDEVINFO set);

    /// Opens a class's key, or with no class the root of all class keys. On failure the result is
    /// INVALID_HANDLE_VALUE as an HKEY, not null.
    PLATFORM_API HKEY SetupDiOpenClassRegKey(const GUID* classGuid, REGSAM access);

    /// ERROR_NO_MORE_ITEMS behind the last device, ERROR_INVALID_USER_BUFFER for a wrong cbSize.
    PLATFORM_API BOOL SetupDiEnumDeviceInfo(HDEVINFO set, DWORD index, SP_DEVINFO_DATA* device);

    /// Reads a property as 16-bit text with its NUL (two for a REG_MULTI_SZ); sizes count bytes.
    /// ERROR_INVALID_DATA when the device has no such property, ERROR_INSUFFICIENT_BUFFER with type and
    /// required size when there is too little room; the buffer is then left alone.
    PLATFORM_API BOOL SetupDiGetDeviceRegistryPropertyW(HDEVINFO set, SP_DEVINFO_DATA* device, DWORD property,
                                                        DWORD* type, BYTE* buffer, DWORD bufferSize,
                                                        DWORD* requiredSize);

    /// Reads a node's status bits and problem number as they are now. CR_NO_SUCH_DEVINST for an absent
    /// node; the outputs are then left alone.
    PLATFORM_API CONFIGRET CM_Get_DevNode_Status(ULONG* status, ULONG* problem, DEVINST device, ULONG flags);
}
