/// @file
/// Failures of commands.
#pragma once

#include <stdexcept>
#include <string_view>

/// Exit codes of zvctl.
enum class ExitCode : int
{
    Success = 0,
    OperationFailed = 1, ///< The library or Windows reported an error.
    Usage = 2,           ///< The command line, a line of a script or the machine file is wrong.
};

/// A library operation that failed. `what()` is the operation, the name of the status and its number.
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

/// Flushes stdout, even to a pipe. @throws std::system_error, for example if the disk is full.
void FlushOutput();
