/// @file
/// The interface of one adapter.
#pragma once

#include "ZVDeviceInfo.h"
#include "ZVRequests.h"
#include "ZVStatus.h"

#include <cstdint>
#include <memory>
#include <string>

/// One adapter that a host works with. Created by CDeviceManagerIntf::OpenDevice, or by
/// `CreateZVModule<CDeviceIntf>` and then Open.
///
/// Held by `std::shared_ptr`. Releasing the last reference destroys the object and waits for its
/// thread; in a completion callback of the same device it does not wait, and the thread exits after
/// the callback.
///
/// All operations may be called concurrently from any thread, with one exception: calls of Open and Close
/// must not overlap each other. An operation that overlaps Close either completes or
/// returns ZV_SRVC_ERR_DEVICE_NOT_OPEN.
///
/// No operation waits for a driver longer than the bound stated below, whatever the driver does. A request
/// that timed out is cancelled and awaited for up to 100 ms. If the driver has not completed it by then,
/// the library keeps the memory that the driver uses until it does. The library no longer uses the
/// caller's memory when the call returns.
class CDeviceIntf
{
public:
    /// Binds the object to an adapter and reads the driver's information block.
    /// @param record the adapter; the object keeps a reference. Its NetCfgInstanceId and
    ///        DriverKeyIndex must be valid.
    /// @return ZV_SRVC_SUCCESS; ZV_SRVC_ERR_ALREADY_OPEN when already bound, and nothing changes;
    ///         ZV_SRVC_ERR_DEVICE_NOT_OPEN for an empty pointer or an adapter that is faulted or
    ///         absent, and the object stays unbound; ZV_SRVC_ERR_CONTROL_DEVICE when the driver
    ///         does not answer, and the object is bound nevertheless.
    /// @throws std::bad_alloc when memory runs out; the object stays unbound.
    /// @note Blocks for one open of the control device, and for at most 300 ms + 100 ms for the driver.
    virtual unsigned int Open(std::shared_ptr<_ZV_SRVC_DEVICE_INFO>& record) = 0;

    /// Unbinds the object and ends its thread. Asynchronous requests are no longer processed, even after a
    /// later Open.
    ///
    /// The request that the thread is processing, and those that it starts before it detects the stop,
    /// complete with their callbacks. Any other waiting request never runs, and its callback is never called;
    /// see `_ZV_SRVC_IOCTL_REQ`.
    /// @return ZV_SRVC_SUCCESS, even if the object is not bound.
    /// @throws std::system_error when called in a completion callback of the same device.
    /// @note Blocks until the asynchronous requests that still run have completed: for each its
    ///       time-out, and then 3000 ms + 100 ms after the driver's last response chunk.
    virtual unsigned int Close() = 0;

    /// Reads the adapter's value "ZVSrvcLibSupport" as a number.
    /// @param result receives the number; 0 for a value that is neither text nor a 32-bit number;
    ///        untouched for a value that cannot be read.
    /// @return ZV_SRVC_SUCCESS, ZV_SRVC_ERR_ABILITY_QUERY, ZV_SRVC_ERR_DEVICE_NOT_OPEN;
    ///         ZV_SRVC_ERR_INVALID_PARAMETER for a null pointer.
    /// @note Blocks for one registry read.
    virtual unsigned int GetAbility(std::uint32_t* result) = 0;

    /// Copies the adapter's record including its flags. Works even if the adapter has been removed.
    /// @param record receives 724 bytes.
    /// @return ZV_SRVC_SUCCESS; ZV_SRVC_ERR_DEVICE_NOT_OPEN when the object is not bound;
    ///         ZV_SRVC_ERR_INVALID_PARAMETER for a null pointer.
    /// @note Does not block.
    virtual unsigned int GetDeviceInfo(_ZV_SRVC_DEVICE_INFO* record) = 0;

    /// Sets or queries one numbered information item of the driver.
    /// @param isSet 1 sets the item; any other value queries it.
    /// @param infoId number of the item.
    /// @param buffer in: data for the driver; out, on success: the driver's answer. With null
    ///        nothing is sent and the result is ZV_SRVC_SUCCESS.
    /// @param length bytes at `buffer`; the driver sees and answers exactly this many.
    /// @return ZV_SRVC_SUCCESS when the driver completed the request in time; ZV_SRVC_ERR_DRIVER_REQUEST
    ///         when it refused, did not answer or `length` is above 0xFFFFFFFF - 52;
    ///         ZV_SRVC_ERR_DEVICE_NOT_OPEN. On failure `buffer` is untouched.
    /// @throws std::bad_alloc when memory runs out; nothing was sent.
    /// @note Blocks for at most 50 ms + 100 ms.
    virtual unsigned int SetQueryInfo(std::uint8_t isSet, std::uint32_t infoId, void* buffer, std::uint32_t length) = 0;

    /// Sends a control request that the host defines.
    /// @param request see `_ZV_SRVC_IOCTL_REQ` for ownership.
    /// @return ZV_SRVC_SUCCESS: the driver completed a synchronous request in time, whatever its
    ///         result, or an asynchronous one was accepted; ZV_SRVC_ERR_FAILURE: a synchronous request failed;
    ///         ZV_SRVC_ERR_ASYNC_PENDING: an asynchronous request with this RequestId is waiting;
    ///         ZV_SRVC_ERR_DEVICE_NOT_OPEN; ZV_SRVC_ERR_INVALID_PARAMETER for a null record, or null
    ///         memory with a length.
    /// @throws std::bad_alloc when memory runs out; the request was not accepted then.
    /// @note A synchronous request blocks for at most its time-out + 100 ms. An asynchronous one does
    ///       not block; its callback is called at most 3000 ms + 100 ms after the driver's last
    ///       response chunk.
    virtual unsigned int SendIOCTLReq(_ZV_SRVC_IOCTL_REQ* request) = 0;

    /// Reads, writes or deletes a value in the adapter's driver key.
    /// @param operation ZV_REG_OP_READ, ZV_REG_OP_WRITE (creates a missing key) or
    ///        ZV_REG_OP_DELETE_VALUE; any other code does nothing and succeeds.
    /// @param subKey key below the driver key; empty for the driver key itself.
    /// @param valueName name of the value.
    /// @param type registry value type; written by a read, read by a write.
    /// @param data the value's bytes; a read with null reports type and size alone.
    /// @param size bytes at `data`; a read stores the value's size here, even if the buffer is too small.
    /// @return ZV_SRVC_SUCCESS; ZV_SRVC_ERR_FAILURE when the registry call fails, when a read has too small
    ///         a buffer or data without a size, and for an adapter without a DriverKeyIndex;
    ///         ZV_SRVC_ERR_DEVICE_NOT_OPEN; ZV_SRVC_ERR_INVALID_PARAMETER for a write without its
    ///         type, size or data.
    /// @note Blocks for the registry calls; a write includes a flush of the key.
    virtual unsigned int AccessRegistry(std::uint32_t operation, std::string subKey, std::string valueName,
                                        std::uint32_t* type, std::uint8_t* data, std::uint32_t* size) = 0;

protected:
    /// Only the library implements this interface.
    CDeviceIntf() = default;
    CDeviceIntf(const CDeviceIntf&) = default;            ///< For the implementation.
    CDeviceIntf& operator=(const CDeviceIntf&) = default; ///< For the implementation.
    /// Not virtual: the shared pointer from the factory destroys the complete object.
    ~CDeviceIntf() = default;
};
