/// @file
/// The first step of every published function: the machine counts, holds or fails the call.
#pragma once

#include "Errors.h"
#include "WinTypes.h"

#include <cstdint>
#include <new>
#include <optional>

namespace Platform
{

/// Counts a call on the current machine and runs its hook, with no lock of the stand-in held.
/// @return the error to fail with, if the call must fail.
///
/// The machine implements this (CurrentMachine.cpp). It is declared here because every group of functions calls
/// it, while the machine includes those groups.
std::optional<std::uint32_t> EnterCall(const char* function);

/// For a function that reports through the last error: returns true if the call must fail, with the last error set.
bool CallFails(const char* function);

/// For a function whose result is the error number: returns 0, or the number to return.
DWORD CallFault(const char* function, DWORD plainFailure = ERROR_GEN_FAILURE);

/// Sets the last error and returns FALSE.
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
