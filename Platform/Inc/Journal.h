/// @file
/// Journals: files with every change of a machine and every request to its drivers. docs/JOURNAL.md describes the
/// format.
#pragma once

#include "Machine.h"
#include "PlatformExport.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace Platform
{

/// `what()` says why a journal cannot be written.
class PLATFORM_API JournalError : public std::runtime_error
{
public:
    /// Takes the text.
    using std::runtime_error::runtime_error;
};

/// Writes a journal of a machine: its state first, then its changes as they happen. A thread of its own writes, so
/// the machine and its callers never wait for the disk. One line is written at a time, so that a killed process
/// leaves a readable file.
class PLATFORM_API Journal
{
public:
    /// Replaces the file and starts to record.
    /// @param program what the journal names as the recorded program.
    /// @throws JournalError if the file cannot be written.
    Journal(std::shared_ptr<Machine> machine, const std::string& path, const std::string& program);
    /// Stops recording and writes what has been recorded.
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    /// Blocks until everything recorded so far is in the file, for at most 2 seconds.
    void Flush();

    class Impl; ///< The state.

private:
    std::shared_ptr<Impl> Self;
};

/// Flushes the journal that the environment variable ZV_JOURNAL has started, if there is one. A normal exit of the
/// process does it; call it before an exit that runs no exit handlers.
PLATFORM_API void FlushJournal();

} // namespace Platform
