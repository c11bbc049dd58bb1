#include "PublishedCall.h"

#include "Errors.h"
#include "MachineImpl.h"

namespace Platform
{

namespace
{

// Without memory for the default machine there is no machine yet, so none on which the call was to fail.
std::optional<std::uint32_t> Enter(const char* function)
try
{
    return CurrentMachine()->Internal().Faults.Enter(function);
}
catch (const std::bad_alloc&)
{
    return std::nullopt;
}

} // namespace

bool CallFails(const char* function)
{
    const auto fault = Enter(function);
    if (fault && *fault != 0)
        SetLastError(*fault);
    return fault.has_value();
}

DWORD CallFault(const char* function, DWORD plainFailure)
{
    const auto fault = Enter(function);
    return fault ? (*fault != 0 ? *fault : plainFailure) : 0;
}

BOOL FailWith(DWORD error)
{
    SetLastError(error);
    return FALSE;
}

} // namespace Platform
