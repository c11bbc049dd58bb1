/// @file
/// Numbers that cross the public interface: statuses, interface types and tag words. Hosts compare
/// against them, so they never change.
#pragma once

#include <cstdint>

/// @name Statuses
/// Every public operation returns one of these as an `unsigned int`. The numbers 7 to 10 are not
/// assigned.
/// @{

/// The operation succeeded.
inline constexpr unsigned int ZV_SRVC_SUCCESS = 0;
/// A step that depends on the platform or the driver failed: a registry operation, a
/// device-installation call, or a synchronous driver request.
inline constexpr unsigned int ZV_SRVC_ERR_FAILURE = 1;
/// SetQueryInfo: the driver refused the request or did not answer it in time.
inline constexpr unsigned int ZV_SRVC_ERR_DRIVER_REQUEST = 2;
/// CreateZVModule: this entry point does not create the given interface type.
inline constexpr unsigned int ZV_SRVC_ERR_INTERFACE_TYPE = 3;
/// CreateZVModule: the new object reported that it is not ready.
inline constexpr unsigned int ZV_SRVC_ERR_MODULE_CREATE = 4;
/// GetAbility: the value could not be read, or it is neither text nor a 32-bit number.
inline constexpr unsigned int ZV_SRVC_ERR_ABILITY_QUERY = 5;
/// GetZVDeviceList: no buffer or too small a buffer; the result record contains the required size.
inline constexpr unsigned int ZV_SRVC_ERR_BUFFER_TOO_SMALL = 6;
/// Open: the device object is already bound to an adapter record.
inline constexpr unsigned int ZV_SRVC_ERR_ALREADY_OPEN = 11;
/// The caller named something that does not exist or is not acceptable.
inline constexpr unsigned int ZV_SRVC_ERR_INVALID_PARAMETER = 12;
/// No adapter was found, or the named adapter is not in the device manager's list.
inline constexpr unsigned int ZV_SRVC_ERR_NO_DEVICE = 13;
/// The device object has no adapter record, or the adapter is faulted or absent.
inline constexpr unsigned int ZV_SRVC_ERR_DEVICE_NOT_OPEN = 14;
/// Open: the control device could not be opened, or its information query did not succeed.
inline constexpr unsigned int ZV_SRVC_ERR_CONTROL_DEVICE = 15;
/// SendIOCTLReq: an asynchronous request with the same RequestId is already waiting.
inline constexpr unsigned int ZV_SRVC_ERR_ASYNC_PENDING = 16;
/// @}

/// The kinds of object that CreateZVModule creates. The high half of a value is the family, the
/// low half the implementation. The `_BASE` and `_RESERVED` values are known but not creatable.
enum _ZV_SRVC_INTERFACE_TYPE : std::uint32_t
{
    ZV_SRVC_DEVICE_MANAGER_BASE = 0x10000, ///< Device managers as a family.
    ZV_SRVC_DEVICE_MANAGER_UWP = 0x10001,  ///< Creates a device manager.
    ZV_SRVC_DEVICE_BASE = 0x20000,         ///< Devices as a family.
    ZV_SRVC_DEVICE_UWP = 0x20001,          ///< Creates a device.
    ZV_SRVC_DEVICE_RESERVED = 0x20002,     ///< Reserved by the device family.
};

/// Type word that GetZVDeviceList requires in its request record.
inline constexpr std::uint32_t ZV_DEVICE_LIST_REQ_TAG = 0x20002;
/// Type word that GetZVDeviceList writes into its result record together with status 6.
inline constexpr std::uint32_t ZV_DEVICE_LIST_RSP_TAG = 0x20001;
/// `ClientType` that puts a notification client into the second client list, and the signature
/// word of the driver's information records.
inline constexpr std::uint32_t ZV_INFO_REQ_MAGIC = 0x81A7C000;

/// Returns the name of a status, for logs and messages.
/// @param status any number; never fails.
/// @return a text with static lifetime; "unknown status" for any other number, such as a Windows error
///         number from NicChangeState.
constexpr const char* ZVStatusName(unsigned int status) noexcept
{
    switch (status)
    {
    case ZV_SRVC_SUCCESS:
        return "ZV_SRVC_SUCCESS";
    case ZV_SRVC_ERR_FAILURE:
        return "ZV_SRVC_ERR_FAILURE";
    case ZV_SRVC_ERR_DRIVER_REQUEST:
        return "ZV_SRVC_ERR_DRIVER_REQUEST";
    case ZV_SRVC_ERR_INTERFACE_TYPE:
        return "ZV_SRVC_ERR_INTERFACE_TYPE";
    case ZV_SRVC_ERR_MODULE_CREATE:
        return "ZV_SRVC_ERR_MODULE_CREATE";
    case ZV_SRVC_ERR_ABILITY_QUERY:
        return "ZV_SRVC_ERR_ABILITY_QUERY";
    case ZV_SRVC_ERR_BUFFER_TOO_SMALL:
        return "ZV_SRVC_ERR_BUFFER_TOO_SMALL";
    case ZV_SRVC_ERR_ALREADY_OPEN:
        return "ZV_SRVC_ERR_ALREADY_OPEN";
    case ZV_SRVC_ERR_INVALID_PARAMETER:
        return "ZV_SRVC_ERR_INVALID_PARAMETER";
    case ZV_SRVC_ERR_NO_DEVICE:
        return "ZV_SRVC_ERR_NO_DEVICE";
    case ZV_SRVC_ERR_DEVICE_NOT_OPEN:
        return "ZV_SRVC_ERR_DEVICE_NOT_OPEN";
    case ZV_SRVC_ERR_CONTROL_DEVICE:
        return "ZV_SRVC_ERR_CONTROL_DEVICE";
    case ZV_SRVC_ERR_ASYNC_PENDING:
        return "ZV_SRVC_ERR_ASYNC_PENDING";
    default:
        return "unknown status";
    }
}
