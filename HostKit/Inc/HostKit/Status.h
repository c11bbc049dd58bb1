/// @file
/// Statuses of the library as `std::error_code` and as exceptions.
///
/// Any thread may call these functions at any time. None of them blocks.
#pragma once

#include "Detail/Categories.h"

#include <ZVStatus.h>

#include <string>
#include <system_error>

namespace HostKit
{

/// Returns the category of the library's statuses, named "zvsrvc". The message of an error is the name of the status
/// and one sentence, such as "ZV_SRVC_ERR_NO_DEVICE: no such adapter was found". For a number that is no status the
/// message says so and contains the number.
/// @return an object with static lifetime; each program and each shared library has its own. Errors of two modules
///         therefore never compare equal, although their texts do.
inline const std::error_category& StatusCategory() noexcept
{
    static const Detail::StatusErrors category;
    return category;
}

/// Returns the category of error numbers of Windows, named "windows". The message contains the number, and a sentence
/// for the errors that occur when an adapter is enabled or disabled.
inline const std::error_category& WindowsErrorCategory() noexcept
{
    static const Detail::WindowsErrors category;
    return category;
}

/// Returns the error of a status; it converts to false for ZV_SRVC_SUCCESS. Compare with a status like this:
/// `error == HostKit::MakeError(ZV_SRVC_ERR_DEVICE_NOT_OPEN)`.
inline std::error_code MakeError(unsigned int status) noexcept
{
    return {static_cast<int>(status), StatusCategory()};
}

/// Returns the error of a result of CDeviceManagerIntf::NicChangeState. That operation returns three statuses of the
/// library, and otherwise an error number of Windows. The numbers overlap: 5 means "access denied" there, although it
/// is ZV_SRVC_ERR_ABILITY_QUERY elsewhere, so do not pass such a result to MakeError. Windows numbers that equal one
/// of the three statuses (1 and 12) cannot be distinguished from them.
inline std::error_code MakeStateChangeError(unsigned int result) noexcept
{
    if (result == ZV_SRVC_SUCCESS || result == ZV_SRVC_ERR_FAILURE || result == ZV_SRVC_ERR_INVALID_PARAMETER)
        return MakeError(result);
    return {static_cast<int>(result), WindowsErrorCategory()};
}

/// Throws unless the operation succeeded.
/// @param error what the operation returned.
/// @param operation what was attempted; begins the text of the exception.
/// @throws std::system_error with the error and a text such as
///         "open adapter: ZV_SRVC_ERR_CONTROL_DEVICE: the driver does not answer".
inline void Check(const std::error_code& error, const std::string& operation)
{
    if (error)
        throw std::system_error(error, operation);
}

/// The same for a status that an operation of the library returned. Not for NicChangeState: see MakeStateChangeError.
inline void Check(unsigned int status, const std::string& operation)
{
    Check(MakeError(status), operation);
}

} // namespace HostKit
