/// @file
/// The interface of the adapter inventory.
#pragma once

#include "CDeviceIntf.h"
#include "ZVDeviceInfo.h"
#include "ZVEvents.h"
#include "ZVStatus.h"

#include <cstdint>
#include <memory>

/// Lists adapters, opens them, notifies clients of their events, and enables and disables them. Created by
/// `CreateZVModule<CDeviceManagerIntf>`.
///
/// A manager exists until the process ends, even after the host has dropped its pointer. Any thread may
/// call any operation at any time, including from client callbacks.
class CDeviceManagerIntf
{
public:
    /// Lists adapters. Enumerates the devices when the filter differs from that of the last call or the
    /// list is empty; otherwise the answer comes from the list, which events keep current.
    /// @param request what to list; only read.
    /// @param result the host's buffer; see `_ZV_SRVC_DEVICE_LIST_RSP`.
    /// @return ZV_SRVC_SUCCESS, with whole records in enumeration order;
    ///         ZV_SRVC_ERR_BUFFER_TOO_SMALL, with the size needed and the buffer untouched;
    ///         ZV_SRVC_ERR_INVALID_PARAMETER for a wrong tag word or an empty filter text;
    ///         ZV_SRVC_ERR_NO_DEVICE when no adapter passes the filter; ZV_SRVC_ERR_FAILURE when the
    ///         enumeration fails. With the last three `result` is unchanged.
    /// @note Makes no platform call when it answers from the list. Otherwise blocks for one enumeration of
    ///       the network devices, or for two if a message changes the list meanwhile, however many
    ///       messages follow. The first call of a process also waits for the event window.
    virtual unsigned int GetZVDeviceList(const _ZV_SRVC_DEVICE_LIST_REQ* request, _ZV_SRVC_DEVICE_LIST_RSP* result) = 0;

    /// Creates a device for one adapter of the list and opens it.
    /// @param record only NetCfgInstanceId is read; a copy from GetZVDeviceList is sufficient.
    /// @param type ZV_SRVC_DEVICE_UWP.
    /// @param device receives the device, even if opening it failed.
    /// @return ZV_SRVC_ERR_NO_DEVICE when the list has no such adapter; otherwise the status of the
    ///         factory or of CDeviceIntf::Open.
    /// @note Blocks for CDeviceIntf::Open: at most 300 ms for the driver's answer, then at most 100 ms
    ///       for a driver that keeps the cancelled request.
    virtual unsigned int OpenDevice(const _ZV_SRVC_DEVICE_INFO* record, _ZV_SRVC_INTERFACE_TYPE type,
                                    std::shared_ptr<CDeviceIntf>& device) = 0;

    /// Registers a client for events. It receives the events delivered from now on.
    /// @param client copied; receives its ClientId, 1 for the manager's first.
    /// @return ZV_SRVC_SUCCESS; ZV_SRVC_ERR_INVALID_PARAMETER for a null pointer.
    /// @throws std::bad_alloc when memory runs out; the client is not registered then.
    /// @note Does not block.
    virtual unsigned int RegisterNotification(_ZV_WLAN_NOTIFY_HDLR* client) = 0;

    /// Removes a client. Does not wait for a callback that is running or about to run.
    /// @param client only ClientId and ClientType are read.
    /// @return ZV_SRVC_SUCCESS, or ZV_SRVC_ERR_INVALID_PARAMETER for a null pointer and when no such client
    ///         is registered.
    /// @note Does not block.
    virtual unsigned int DeRegisterNotification(const _ZV_WLAN_NOTIFY_HDLR* client) = 0;

    /// Enables or disables a device's adapter.
    /// @param device a bound device.
    /// @param enable 0 disables, anything else enables.
    /// @return ZV_SRVC_SUCCESS; ZV_SRVC_ERR_FAILURE when the devices cannot be listed;
    ///         ZV_SRVC_ERR_INVALID_PARAMETER when no present device is this adapter; otherwise the
    ///         error number of Windows.
    /// @note Blocks for one enumeration of all devices and for the device installer of Windows, whose time
    ///       the library does not bound.
    virtual unsigned int NicChangeState(std::shared_ptr<CDeviceIntf>& device, std::uint8_t enable) = 0;

protected:
    /// Only the library implements this interface.
    CDeviceManagerIntf() = default;
    CDeviceManagerIntf(const CDeviceManagerIntf&) = default;            ///< For the implementation.
    CDeviceManagerIntf& operator=(const CDeviceManagerIntf&) = default; ///< For the implementation.
    /// Not virtual: the shared pointer from the factory destroys the complete object.
    ~CDeviceManagerIntf() = default;
};
