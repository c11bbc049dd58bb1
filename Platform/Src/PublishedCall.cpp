#include "PublishedCall.h"

#include "Errors.h"
#include "MachineImpl.h"

namespace Platform
{

bool CallFails(const char* function)
{
    const auto fault = CurrentMachine()->Internal().Faults.Enter(function);
    if (fault && *fault != 0)
    {
        SetLastError(*fault);
    }
    return fault.has_value();
}

DWORD CallFault(const char* function, DWORD plainFailure)
{
    const auto fault = CurrentMachine()->Internal().Faults.Enter(function);
    return fault ? (*fault != 0 ? *fault : plainFailure) : 0;
}

BOOL FailWith(DWORD error)
{
    SetLastError(error);
    return FALSE;
}

} // namespace Platform
