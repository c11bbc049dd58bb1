#include "PublishedCall.h"

#include <unistd.h>

namespace
{

// One number per thread, as on Windows: a call of another thread cannot overwrite the reason of a failure.
thread_local DWORD lastError = 0;

} // namespace

DWORD GetLastError()
{
    return lastError;
}

void SetLastError(DWORD error)
{
    lastError = error;
}

// Cannot fail, so it does not count as a call and no fault applies. The same is true of the two functions above.
DWORD GetCurrentProcessId()
{
    return static_cast<DWORD>(getpid());
}

namespace Platform
{

bool CallFails(const char* function)
{
    const auto fault = EnterCall(function);
    // An error of 0 stands for a failure that leaves the last error alone: hosts must cope with a stale one.
    if (fault && *fault != 0)
        SetLastError(*fault);
    return fault.has_value();
}

DWORD CallFault(const char* function, DWORD plainFailure)
{
    const auto fault = EnterCall(function);
    // The result is the error itself, so a failure cannot be reported as 0.
    return fault ? (*fault != 0 ? *fault : plainFailure) : 0;
}

BOOL FailWith(DWORD error)
{
    SetLastError(error);
    return FALSE;
}

} // namespace Platform
