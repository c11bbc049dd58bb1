/// @file
/// Failures of commands.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

/// Exit codes of zvctl.
enum class ExitCode : int
{
    Success = 0,
    OperationFailed = 1, ///< Any failure without a code of its own.
    Usage = 2,           ///< The command line, a line of a script or the machine file is wrong.
    NotFound = 3,        ///< No adapter or registry value matches, or several adapters do.
    TimedOut = 4,        ///< A driver, a callback or an event did not arrive in time.
    NotReady = 5,        ///< The adapter is absent, has a problem or has no control device.
    Refused = 6,         ///< The driver refused a request.
};

/// The exit codes for the help.
inline constexpr char ExitCodeHelp[] = "Exit codes: 0 success; 1 failure; 2 wrong usage or a bad machine file; "
                                       "3 not found; 4 time-out;\n5 adapter not ready; 6 refused by the driver.";

/// A failure. `what()` is the complete message: what failed, the cause, and a remedy if the thrower has one.
class Failure : public std::runtime_error
{
public:
    /// @param operation of the library; empty if it was none.
    explicit Failure(const std::string& message, ExitCode code = ExitCode::OperationFailed,
                     std::string_view operation = "")
        : std::runtime_error(message), ExitWith(code), FailedOperation(operation)
    {
    }

    ExitCode Code() const { return ExitWith; }
    const std::string& Operation() const { return FailedOperation; }
    /// Returns the status of the library.
    std::optional<unsigned int> Status() const { return Number; }

    /// Returns the same failure with a text in front of its message.
    Failure After(std::string_view text) const;

    /// Returns a failure that the JSON output of the command describes already.
    static Failure WithReport(const std::string& message);
    bool HasReport() const { return IsReported; }

protected:
    Failure(const std::string& message, ExitCode code, std::string_view operation, unsigned int status)
        : std::runtime_error(message), ExitWith(code), FailedOperation(operation), Number(status)
    {
    }

private:
    ExitCode ExitWith;
    std::string FailedOperation;
    std::optional<unsigned int> Number;
    bool IsReported = false;
};

/// A library operation that failed. `what()` is the operation, the name of the status, its number and the cause.
class OperationFailed : public Failure
{
public:
    /// Derives the exit code from the status, and refers to its explanation.
    OperationFailed(std::string_view operation, unsigned int status);
    OperationFailed(std::string_view operation, unsigned int status, ExitCode code, std::string_view cause);
};

/// A syntax error in a line or a file.
class UsageError : public Failure
{
public:
    explicit UsageError(const std::string& message) : Failure(message, ExitCode::Usage) {}
};

/// Throws OperationFailed unless the status is ZV_SRVC_SUCCESS.
void Require(std::string_view operation, unsigned int status);

/// Returns the exception that is being handled, as a Failure. Call in a handler only.
Failure CurrentFailure();

/// Prints a failure: on stderr, or with `json` as an object on stdout unless the output has it already.
/// @param command its name; empty if the command line was not understood.
void ReportFailure(const Failure& failure, std::string_view command, bool json);

/// Flushes stdout, even to a pipe. @throws std::system_error, for example if the disk is full.
void FlushOutput();
