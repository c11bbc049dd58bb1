/// @file
/// How the control program reports a Windows call that failed.
#pragma once

#include <string>

/// Thrown by every operation of the control program.
struct Failure
{
    const char* Operation; ///< The Windows call.
    unsigned long Error;   ///< What GetLastError returned.
};

/// @throws Failure with the last error unless `succeeded`.
void Require(bool succeeded, const char* operation);

/// Returns operation, Windows error and, where one is known, remedy: one line without NUL or line feed.
std::string Describe(const Failure& failure);
