/// @file
/// The texts of statuses and of error numbers of Windows. For Status.h only.
#pragma once

#include <ZVStatus.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <system_error>

namespace HostKit::Detail
{

/// The meaning of one number.
struct NumberText
{
    unsigned int Number;
    const char* Meaning;
};

inline constexpr NumberText StatusTexts[] = {
    {ZV_SRVC_SUCCESS, "the operation succeeded"},
    {ZV_SRVC_ERR_FAILURE, "a step of the operating system or of the driver failed"},
    {ZV_SRVC_ERR_DRIVER_REQUEST, "the driver refused the request or did not answer it in time"},
    {ZV_SRVC_ERR_INTERFACE_TYPE, "this interface type cannot be created"},
    {ZV_SRVC_ERR_MODULE_CREATE, "the new object is not ready"},
    {ZV_SRVC_ERR_ABILITY_QUERY, "the adapter's value \"ZVSrvcLibSupport\" cannot be read as a number"},
    {ZV_SRVC_ERR_BUFFER_TOO_SMALL, "the buffer is too small for the list"},
    {ZV_SRVC_ERR_ALREADY_OPEN, "the device is already open"},
    {ZV_SRVC_ERR_INVALID_PARAMETER, "an argument is missing or not acceptable"},
    {ZV_SRVC_ERR_NO_DEVICE, "no such adapter was found"},
    {ZV_SRVC_ERR_DEVICE_NOT_OPEN, "the device is not open, or its adapter is absent or has a problem"},
    {ZV_SRVC_ERR_CONTROL_DEVICE, "the driver does not answer"},
    {ZV_SRVC_ERR_ASYNC_PENDING, "an asynchronous request with this number is already waiting"},
};

/// The errors with which Windows most often refuses to enable or disable an adapter.
inline constexpr NumberText WindowsTexts[] = {
    {5, "access denied; run as administrator"},
    {31, "the device does not work"},
    {1223, "cancelled by the user"},
    {0xE000020B, "the device no longer exists"},
    {0xE0000231, "the device cannot be disabled"},
    {0xE0000235, "a 32-bit program cannot change a device of 64-bit Windows"},
};

/// Returns null for a number that is not in the table.
template <class Table>
constexpr const char* MeaningOf(const Table& table, unsigned int number)
{
    const auto row = std::ranges::find(table, number, &NumberText::Number);
    return row == std::end(table) ? nullptr : row->Meaning;
}

class StatusErrors final : public std::error_category
{
public:
    const char* name() const noexcept override { return "zvsrvc"; }
    std::string message(int number) const override
    {
        const auto status = static_cast<unsigned int>(number);
        if (const char* const meaning = MeaningOf(StatusTexts, status))
            return std::string(ZVStatusName(status)) + ": " + meaning;
        return "number " + std::to_string(status) + " is no status of the library";
    }
};

class WindowsErrors final : public std::error_category
{
public:
    const char* name() const noexcept override { return "windows"; }
    std::string message(int number) const override
    {
        const auto error = static_cast<unsigned int>(number);
        const std::string text = "Windows error " + std::to_string(error);
        const char* const meaning = MeaningOf(WindowsTexts, error);
        return meaning != nullptr ? text + ": " + meaning : text;
    }
};

} // namespace HostKit::Detail
