/// @file
/// How a command reports a failure.
#pragma once

#include <stdexcept>
#include <string_view>

/// What zvctl returns to its caller.
enum class ExitCode : int
{
    Done = 0,
    OperationFailed = 1, ///< The library or the system refused.
    Usage = 2,           ///< The command line, a line of a script or the machine file is wrong.
};

/// A library operation that did not succeed. `what()` gives the operation, the status by name and
/// its number.
class OperationFailed : public std::runtime_error
{
public:
    OperationFailed(std::string_view operation, unsigned int status);

    unsigned int Status() const { return Number; }

private:
    unsigned int Number;
};

/// A syntax error in a line or a file.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Throws OperationFailed unless the status is ZV_SRVC_SUCCESS.
void Require(std::string_view operation, unsigned int status);
