#include "Errors.h"

#include "Json.h"
#include "Terminal.h"

#include <ZVStatus.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <fmt/core.h>
#include <system_error>

namespace
{

/// Returns the code of a status without regard to the operation. Callers that know more pass the code themselves.
ExitCode CodeOf(unsigned int status)
{
    switch (status)
    {
    case ZV_SRVC_ERR_NO_DEVICE:
        return ExitCode::NotFound;
    case ZV_SRVC_ERR_DEVICE_NOT_OPEN:
        return ExitCode::NotReady;
    case ZV_SRVC_ERR_DRIVER_REQUEST:
    case ZV_SRVC_ERR_CONTROL_DEVICE:
        return ExitCode::Refused;
    default:
        return ExitCode::OperationFailed;
    }
}

std::string StatusText(std::string_view operation, unsigned int status)
{
    return fmt::format("{}: {} ({})", operation, ZVStatusName(status), status);
}

} // namespace

Failure Failure::After(std::string_view text) const
{
    Failure copy(fmt::format("{}{}", text, what()), ExitWith, FailedOperation);
    copy.Number = Number;
    copy.IsReported = IsReported;
    return copy;
}

Failure Failure::WithReport(const std::string& message)
{
    Failure failure(message);
    failure.IsReported = true;
    return failure;
}

OperationFailed::OperationFailed(std::string_view operation, unsigned int status)
    : Failure(fmt::format("{}; run 'zvctl explain {}'", StatusText(operation, status), status), CodeOf(status),
              operation, status)
{
}

OperationFailed::OperationFailed(std::string_view operation, unsigned int status, ExitCode code, std::string_view cause)
    : Failure(fmt::format("{}: {}", StatusText(operation, status), cause), code, operation, status)
{
}

void Require(std::string_view operation, unsigned int status)
{
    if (status != ZV_SRVC_SUCCESS)
        throw OperationFailed(operation, status);
}

Failure CurrentFailure()
try
{
    throw;
}
catch (const Failure& failure)
{
    return failure;
}
catch (const std::exception& failure)
{
    return Failure(failure.what());
}

void ReportFailure(const Failure& failure, std::string_view command, bool json)
{
    if (json && failure.HasReport())
        return;
    if (!json)
    {
        fmt::print(stderr, "{} {}{}{}\n", Painted(stderr, Colour::Red, "zvctl:"), command, command.empty() ? "" : ": ",
                   failure.what());
        return;
    }
    Json status; // null unless the library returned a status
    Json name;
    if (const auto number = failure.Status())
    {
        status = *number;
        name = ZVStatusName(*number);
    }
    // The operation is that of the library, or the command, or the program.
    const std::string_view ownOperation = command.empty() ? "zvctl" : command;
    const Json error = Json::Object{
        {"command", command},
        {"operation", failure.Operation().empty() ? ownOperation : failure.Operation()},
        {"status", status},
        {"name", name},
        {"exitCode", static_cast<unsigned int>(failure.Code())},
        {"message", failure.what()},
    };
    fmt::print("{}\n", Json(Json::Object{{"error", error}}).Line());
    // Not FlushOutput, which would replace this failure by its own.
    std::fflush(stdout);
}

/// A write to a full disk or a closed pipe is often reported here only.
void FlushOutput()
{
    if (std::fflush(stdout) != 0)
        throw std::system_error(errno, std::generic_category(), "standard output");
}
