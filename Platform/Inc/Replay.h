/// @file
/// Replaying a journal: the same changes, in the same order, for a host on this machine.
#pragma once

#include "Machine.h"
#include "PlatformExport.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace Platform
{

/// A journal and the machine that it begins with. Serve the machine with a ControlServer, let a host join it, then
/// make the changes one by one. Not thread-safe.
class PLATFORM_API Replay
{
public:
    /// Reads the whole journal. A last line that is incomplete, as a killed process leaves it, is ignored.
    /// @throws MachineFileError for an error in the file, with the line.
    explicit Replay(const std::string& path);
    ~Replay();
    Replay(const Replay&) = delete;
    Replay& operator=(const Replay&) = delete;

    /// Returns the machine, with the drivers that answer from the journal where a request matches.
    std::shared_ptr<Machine> Start() const;
    /// Returns whether a process has joined the machine.
    bool HasAudience() const;

    /// Returns how many changes are left.
    std::size_t Left() const;
    /// Returns when the next change happened, counted from the start of the recording.
    std::chrono::microseconds NextTime() const;
    /// Returns the next change as JSON text.
    std::string NextText() const;
    /// Makes the next change; there must be one.
    void Step();

private:
    class Impl;
    std::unique_ptr<Impl> Self;
};

} // namespace Platform
