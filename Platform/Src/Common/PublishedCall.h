/// @file
/// The first step of every published function: the machine counts, holds or fails the call.
#pragma once

#include "Errors.h"
#include "WinTypes.h"

#include <new>

namespace Platform
{

/// For a function that reports through the last error: true when it is to fail; the error is set.
bool CallFails(const char* function);

/// For a function whose result is the error number: 0, or what it is to return.
DWORD CallFault(const char* function, DWORD plainFailure = ERROR_GEN_FAILURE);

/// Sets the last error and gives FALSE.
BOOL FailWith(DWORD error);

/// Returns the failure result after exhausted memory. No exception leaves a published function: its
/// caller may be a destructor, and on Windows it is a C function.
template <class Result>
Result OutOfMemory(Result failure)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return failure;
}

} // namespace Platform
