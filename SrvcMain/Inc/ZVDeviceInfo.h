/// @file
/// The adapter record and the records of GetZVDeviceList. Their layout is fixed: values are little-endian
/// and pointers are 64 bits wide.
#pragma once

#include <cstddef>
#include <cstdint>

/// @name Bits of `_ZV_SRVC_DEVICE_INFO::StateFlags`
/// Bit 1 and bits 5 to 31 stay zero.
/// @{

/// The device node reports a problem number; a disabled adapter does. Makes the adapter unusable.
inline constexpr std::uint32_t ZV_DEV_HAS_PROBLEM = 0x1;
/// The last check of the operating system did not confirm the adapter. Makes the adapter unusable.
inline constexpr std::uint32_t ZV_DEV_ABSENT = 0x4;
/// The installed driver version differs from the one in `DriverVersion`.
inline constexpr std::uint32_t ZV_DEV_DRIVER_CHANGED = 0x8;
/// The adapter's driver was uninstalled.
inline constexpr std::uint32_t ZV_DEV_DRIVER_UNINSTALLED = 0x10;
/// An adapter is usable while none of these bits is set.
inline constexpr std::uint32_t ZV_DEV_UNAVAILABLE_MASK = ZV_DEV_HAS_PROBLEM | ZV_DEV_ABSENT;
/// @}

/// One adapter, 724 bytes. Each text is 8-bit and NUL-terminated; the bytes after the NUL are zero. A value
/// that the operating system does not have leaves its field all zero.
struct _ZV_SRVC_DEVICE_INFO
{
    char DeviceName[200];       ///< Display name, UTF-8; "<Unknown Device>" when there is none.
    char DriverKeyIndex[5];     ///< Instance number of the adapter's driver key; empty if longer than 4 digits.
    char DeviceInstanceID[300]; ///< Value "DeviceInstanceID" of the driver key.
    char DriverVersion[50];     ///< Value "DriverVersion" of the driver key.
    char NetCfgInstanceId[50];  ///< Value "NetCfgInstanceId": the adapter's identity everywhere.
    char InfSection[50];        ///< Value "InfSection" of the driver key.
    char Service[64];           ///< Name of the driver's service in lower case; identifies the bus.
    char Reserved;              ///< Zero.
    std::uint32_t StateFlags;   ///< `ZV_DEV_` bits.
};

static_assert(sizeof(_ZV_SRVC_DEVICE_INFO) == 724);
static_assert(offsetof(_ZV_SRVC_DEVICE_INFO, DriverKeyIndex) == 200);
static_assert(offsetof(_ZV_SRVC_DEVICE_INFO, DeviceInstanceID) == 205);
static_assert(offsetof(_ZV_SRVC_DEVICE_INFO, DriverVersion) == 505);
static_assert(offsetof(_ZV_SRVC_DEVICE_INFO, NetCfgInstanceId) == 555);
static_assert(offsetof(_ZV_SRVC_DEVICE_INFO, InfSection) == 605);
static_assert(offsetof(_ZV_SRVC_DEVICE_INFO, Service) == 655);
static_assert(offsetof(_ZV_SRVC_DEVICE_INFO, Reserved) == 719);
static_assert(offsetof(_ZV_SRVC_DEVICE_INFO, StateFlags) == 720);

/// Width of `_ZV_SRVC_DEVICE_FILTER::FilterText` in bytes, its NUL included.
inline constexpr std::size_t ZV_FILTER_TEXT_SIZE = 50;

/// What GetZVDeviceList is to list. The record has a variable length: a host allocates a block large enough
/// for its pattern text and writes that text to `InstanceIdList`.
struct _ZV_SRVC_DEVICE_FILTER
{
    /// `ZV_ALL`, `ZV_USB`, `ZV_SDIO`, `ZV_PCIE`, or a text of driver service names in lower case.
    /// NUL-terminated, at most 49 characters.
    char FilterText[ZV_FILTER_TEXT_SIZE];
    /// Patterns separated by ";", NUL-terminated, of any length. An adapter passes when one of them
    /// is part of its `DeviceInstanceID` (case-sensitive). Empty: no restriction.
    char InstanceIdList[1];
};

static_assert(sizeof(_ZV_SRVC_DEVICE_FILTER) == 51);
static_assert(offsetof(_ZV_SRVC_DEVICE_FILTER, InstanceIdList) == 50);

/// Request of GetZVDeviceList, 16 bytes, only read.
struct _ZV_SRVC_DEVICE_LIST_REQ
{
    std::uint32_t Type;                       ///< ZV_DEVICE_LIST_REQ_TAG.
    std::uint32_t Reserved;                   ///< Not read.
    const _ZV_SRVC_DEVICE_FILTER* Parameters; ///< The filter; owned by the host.
};

static_assert(sizeof(_ZV_SRVC_DEVICE_LIST_REQ) == 16);
static_assert(offsetof(_ZV_SRVC_DEVICE_LIST_REQ, Parameters) == 8);

/// Result of GetZVDeviceList, 16 bytes.
struct _ZV_SRVC_DEVICE_LIST_RSP
{
    /// Written (ZV_DEVICE_LIST_RSP_TAG) together with ZV_SRVC_ERR_BUFFER_TOO_SMALL only.
    std::uint32_t Type;
    /// In: size of the buffer in bytes. Out: number of adapters times 724, with statuses 0 and 6.
    std::uint32_t Length;
    /// The host's memory for whole records, or null to ask for the size.
    _ZV_SRVC_DEVICE_INFO* Buffer;
};

static_assert(sizeof(_ZV_SRVC_DEVICE_LIST_RSP) == 16);
static_assert(offsetof(_ZV_SRVC_DEVICE_LIST_RSP, Length) == 4);
static_assert(offsetof(_ZV_SRVC_DEVICE_LIST_RSP, Buffer) == 8);
