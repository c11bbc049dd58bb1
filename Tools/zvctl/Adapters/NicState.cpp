#include "NicState.h"

#include "Errors.h"

#include <fmt/format.h>
#include <stdexcept>

/// Only these of its statuses are the library's; any other number is the system's.
void ChangeNicState(CDeviceManagerIntf& manager, std::shared_ptr<CDeviceIntf>& device, bool enable)
{
    const unsigned int status = manager.NicChangeState(device, enable ? 1 : 0);
    if (status > ZV_SRVC_ERR_FAILURE && status != ZV_SRVC_ERR_INVALID_PARAMETER)
        throw std::runtime_error(fmt::format("NicChangeState: system error {0} (0x{0:x})", status));
    Require("NicChangeState", status);
}
