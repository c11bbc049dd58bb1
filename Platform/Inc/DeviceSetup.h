/// @file
/// Device sets, device properties and node status. Functions with a BOOL result report the reason of a
/// failure in the last error. All may be called from any thread.
#pragma once

#include "PlatformExport.h"
#include "Registry.h"
#include "WinTypes.h"

/// Number of a device node; here, the AdapterId of the machine.
using DEVINST = DWORD;
/// Result of a configuration-manager call, a CR_ number.
using CONFIGRET = DWORD;

/// One device of a set.
struct SP_DEVINFO_DATA
{
    DWORD cbSize; ///< 32, set by the caller.
    GUID ClassGuid;
    DEVINST DevInst;
    ULONG_PTR Reserved; ///< Opaque to callers.
};
static_assert(sizeof(SP_DEVINFO_DATA) == 32);

using DI_FUNCTION = UINT;

/// The head of all install parameters.
struct SP_CLASSINSTALL_HEADER
{
    DWORD cbSize; ///< 8, set by the caller.
    DI_FUNCTION InstallFunction;
};
static_assert(sizeof(SP_CLASSINSTALL_HEADER) == 8);

/// Parameters of DIF_PROPERTYCHANGE.
struct SP_PROPCHANGE_PARAMS
{
    SP_CLASSINSTALL_HEADER ClassInstallHeader;
    DWORD StateChange;
    DWORD Scope;
    DWORD HwProfile;
};
static_assert(sizeof(SP_PROPCHANGE_PARAMS) == 20);

/// @name Property changes
/// @{
inline constexpr DI_FUNCTION DIF_PROPERTYCHANGE = 0x12;
inline constexpr DWORD DICS_ENABLE = 1;
inline constexpr DWORD DICS_DISABLE = 2;
inline constexpr DWORD DICS_FLAG_GLOBAL = 1;         ///< In every hardware profile.
inline constexpr DWORD DICS_FLAG_CONFIGSPECIFIC = 2; ///< In one hardware profile.
/// @}

/// The key type of SetupDiOpenDevRegKey: the driver key.
inline constexpr DWORD DIREG_DRV = 2;

inline constexpr DWORD DIGCF_PRESENT = 0x2;
inline constexpr DWORD DIGCF_ALLCLASSES = 0x4;

/// @name Device properties
/// @{
inline constexpr DWORD SPDRP_DEVICEDESC = 0;
inline constexpr DWORD SPDRP_HARDWAREID = 1;
inline constexpr DWORD SPDRP_CLASS = 7;
inline constexpr DWORD SPDRP_CLASSGUID = 8;
inline constexpr DWORD SPDRP_DRIVER = 9;
inline constexpr DWORD SPDRP_FRIENDLYNAME = 12;
inline constexpr DWORD SPDRP_MAXIMUM_PROPERTY = 0x25; ///< First number that is no property.
/// @}

/// @name Error numbers of device setup
/// @{
inline constexpr DWORD ERROR_INVALID_CLASS = 0xE0000206;
inline constexpr DWORD ERROR_INVALID_REG_PROPERTY = 0xE0000209;
inline constexpr DWORD ERROR_NO_CLASSINSTALL_PARAMS = 0xE0000215;
inline constexpr DWORD ERROR_KEY_DOES_NOT_EXIST = 0xE0000204;
inline constexpr DWORD ERROR_NO_SUCH_DEVINST = 0xE000020B;
inline constexpr DWORD ERROR_NOT_DISABLEABLE = 0xE0000231;
/// @}

/// @name Results of the configuration manager
/// @{
inline constexpr CONFIGRET CR_SUCCESS = 0;
inline constexpr CONFIGRET CR_INVALID_POINTER = 3;
inline constexpr CONFIGRET CR_INVALID_FLAG = 4;
inline constexpr CONFIGRET CR_NO_SUCH_DEVINST = 0xD;
inline constexpr CONFIGRET CR_FAILURE = 0x13;
/// @}

/// @name Status bits of a node
/// @{
inline constexpr ULONG DN_DRIVER_LOADED = 0x2;
inline constexpr ULONG DN_STARTED = 0x8;
inline constexpr ULONG DN_HAS_PROBLEM = 0x400;        ///< Here, never together with DN_STARTED.
inline constexpr ULONG DN_NO_SHOW_IN_DM = 0x40000000; ///< Hidden in the Device Manager.
/// @}

extern "C"
{
    /// Lists the classes of that name; without any, succeeds with a required size of 0. A buffer that is
    /// too small: ERROR_INSUFFICIENT_BUFFER with the required size.
    PLATFORM_API BOOL SetupDiClassGuidsFromNameW(const WCHAR* className, GUID* guids, DWORD guidCount,
                                                 DWORD* requiredSize) PLATFORM_NAME(SetupDiClassGuidsFromNameW);

    /// Takes a snapshot of the devices; INVALID_HANDLE_VALUE on failure. Without DIGCF_PRESENT it includes
    /// absent devices, without DIGCF_ALLCLASSES only those of one class. `enumerator` must be null.
    PLATFORM_API HDEVINFO SetupDiGetClassDevsW(const GUID* classGuid, const WCHAR* enumerator, HWND parent, DWORD flags)
        PLATFORM_NAME(SetupDiGetClassDevsW);
    /// Closes a set. ERROR_INVALID_HANDLE for an unknown one.
    PLATFORM_API BOOL SetupDiDestroyDeviceInfoList(HDEVINFO set) PLATFORM_NAME(SetupDiDestroyDeviceInfoList);

    /// Opens a class's key, or with no class the root of all class keys. On failure the result is
    /// INVALID_HANDLE_VALUE as an HKEY, not null.
    PLATFORM_API HKEY SetupDiOpenClassRegKey(const GUID* classGuid, REGSAM access)
        PLATFORM_NAME(SetupDiOpenClassRegKey);

    /// Reads the record of a device of the set. ERROR_NO_MORE_ITEMS after the last device, ERROR_INVALID_USER_BUFFER
    /// for a wrong cbSize.
    PLATFORM_API BOOL SetupDiEnumDeviceInfo(HDEVINFO set, DWORD index, SP_DEVINFO_DATA* device)
        PLATFORM_NAME(SetupDiEnumDeviceInfo);

    /// Reads a property as 16-bit text with its NUL (two for a REG_MULTI_SZ); sizes count bytes.
    /// ERROR_INVALID_DATA when the device has no such property, ERROR_INSUFFICIENT_BUFFER with type and
    /// required size when the buffer is too small; the buffer is then unchanged.
    PLATFORM_API BOOL SetupDiGetDeviceRegistryPropertyW(HDEVINFO set, SP_DEVINFO_DATA* device, DWORD property,
                                                        DWORD* type, BYTE* buffer, DWORD bufferSize,
                                                        DWORD* requiredSize)
        PLATFORM_NAME(SetupDiGetDeviceRegistryPropertyW);

    /// Reads a node's status bits and problem number as they are now. CR_NO_SUCH_DEVINST for an absent
    /// node; the outputs are then unchanged.
    PLATFORM_API CONFIGRET CM_Get_DevNode_Status(ULONG* status, ULONG* problem, DEVINST device, ULONG flags)
        PLATFORM_NAME(CM_Get_DevNode_Status);

    /// Opens a device's driver key (DICS_FLAG_GLOBAL, profile 0 and DIREG_DRV alone). On failure the
    /// result is INVALID_HANDLE_VALUE as an HKEY: ERROR_KEY_DOES_NOT_EXIST for a device without such a
    /// key, ERROR_ACCESS_DENIED for more than reading by a caller without rights.
    PLATFORM_API HKEY SetupDiOpenDevRegKey(HDEVINFO set, SP_DEVINFO_DATA* device, DWORD scope, DWORD profile,
                                           DWORD keyType, REGSAM access) PLATFORM_NAME(SetupDiOpenDevRegKey);

    /// Stores a copy of the parameters with the device of the set; null parameters of size 0 remove it.
    /// Only those of DIF_PROPERTYCHANGE are supported, to enable in either scope or to disable in
    /// DICS_FLAG_CONFIGSPECIFIC: ERROR_INVALID_PARAMETER for others, ERROR_INVALID_USER_BUFFER for a
    /// wrong cbSize.
    PLATFORM_API BOOL SetupDiSetClassInstallParamsW(HDEVINFO set, SP_DEVINFO_DATA* device,
                                                    SP_CLASSINSTALL_HEADER* parameters, DWORD size)
        PLATFORM_NAME(SetupDiSetClassInstallParamsW);

    /// Carries out DIF_PROPERTYCHANGE with the parameters of the device: changes the node and sends the
    /// messages of the change before it returns. ERROR_NO_CLASSINSTALL_PARAMS without parameters for
    /// that function, ERROR_ACCESS_DENIED for a caller without rights, ERROR_NO_SUCH_DEVINST for an
    /// absent device, ERROR_NOT_DISABLEABLE when a window denied the removal, and the adapter's own
    /// refusal. An enable in DICS_FLAG_GLOBAL only ends a global disable, which no adapter here has. Blocks while
    /// window procedures handle the messages: call it without a lock that they need.
    PLATFORM_API BOOL SetupDiCallClassInstaller(DI_FUNCTION function, HDEVINFO set, SP_DEVINFO_DATA* device)
        PLATFORM_NAME(SetupDiCallClassInstaller);
}
