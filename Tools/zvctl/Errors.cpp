#include "Errors.h"

#include <ZVStatus.h>

#include <fmt/format.h>

OperationFailed::OperationFailed(std::string_view operation, unsigned int status)
    : std::runtime_error(fmt::format("{}: {} ({})", operation, ZVStatusName(status), status)), Number(status)
{
}

void Require(std::string_view operation, unsigned int status)
{
    if (status != ZV_SRVC_SUCCESS)
        throw OperationFailed(operation, status);
}
