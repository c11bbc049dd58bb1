#include "Errors.h"

#include <unistd.h>

namespace
{

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

DWORD GetCurrentProcessId()
{
    return static_cast<DWORD>(getpid());
}
