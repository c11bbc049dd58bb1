/// @file
/// The server of a machine that several processes share, as a process that has joined it sees it.
#pragma once

#include "MachineChange.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>

namespace Platform
{

/// An event of the computer that a caller causes. The server decides what it changes.
struct MachineVerb
{
    const char* Method = nullptr; ///< Of the control protocol, such as "plug".
    std::optional<AdapterId> Id = {};
    std::optional<std::uint32_t> Problem = {};
    std::optional<std::string> Version = {};
};

using MachineRequest = std::variant<MachineVerb, MachineChange>;

/// What the server answered.
struct LinkAnswer
{
    bool Done = false;      ///< False if nothing had to be changed or a window denied it.
    AdapterId Id = 0;       ///< Of an added adapter.
    bool IsUnknown = false; ///< The adapter has been removed.
    std::string Error = {}; ///< Empty unless the server refused the change or cannot be reached.
    bool IsAway = false;    ///< The server cannot be reached.
};

/// Thread-safe.
class MachineLink
{
public:
    using Done = std::function<void(const LinkAnswer&)>;

    virtual ~MachineLink() = default;

    /// Has the server make a change. Returns when this process has applied it and its windows have handled the
    /// messages. The calling thread dispatches messages sent to its windows meanwhile.
    virtual LinkAnswer Ask(const MachineRequest& request) = 0;
    /// Does the same without waiting. `done` is called once, on any thread, perhaps before this returns.
    virtual void AskLater(const MachineRequest& request, Done done) = 0;
    /// Passes on a change that needs no answer.
    virtual void Report(const MachineChange& change) = 0;
};

} // namespace Platform
