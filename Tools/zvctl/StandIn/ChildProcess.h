/// @file
/// A program that the tool starts.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

/// Runs with the streams of the tool. Not thread-safe.
class ChildProcess
{
public:
    /// @param words the program, searched for in PATH, and its arguments.
    /// @param variable an environment variable to set. @throws std::system_error if the program cannot be started.
    ChildProcess(const std::vector<std::string>& words, const std::string& variable, const std::string& value);
    /// Ends the program by SIGTERM if it still runs.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool HasEnded();
    /// Ends the program by SIGTERM if it still runs. Returns its exit code; 128 and the number for a signal.
    int Finish();

private:
    pid_t Process = 0;
    std::optional<int> Code;
};
