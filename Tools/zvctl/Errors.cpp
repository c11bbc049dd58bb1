#include "Errors.h"

#include <ZVStatus.h>

#include <cerrno>
#include <cstdio>
#include <fmt/core.h>
#include <system_error>

OperationFailed::OperationFailed(std::string_view operation, unsigned int status)
    : std::runtime_error(fmt::format("{}: {} ({})", operation, ZVStatusName(status), status)), Number(status)
{
}

void Require(std::string_view operation, unsigned int status)
{
    if (status != ZV_SRVC_SUCCESS)
        throw OperationFailed(operation, status);
}

/// A write to a full disk or a closed pipe is often reported here only.
void FlushOutput()
{
    if (std::fflush(stdout) != 0)
        throw std::system_error(errno, std::generic_category(), "standard output");
}
