/// @file
/// Commands as lines of a session: one machine, one manager, one feed of events.
#pragma once

#include "Command.h"

#include <string>
#include <string_view>
#include <vector>

/// Cuts a line at its blanks. Quotes, single or double, keep blanks and '#' together; otherwise a word
/// that begins with '#' begins a comment. @throws UsageError for a quote without its end.
std::vector<std::string> SplitLine(std::string_view line);

/// Carries out lines.
class LineRunner
{
public:
    /// Starts the session's feed, so that no later event is missed. @throws OperationFailed
    LineRunner();

    /// @return false when no further line is wanted.
    /// @throws UsageError for a line that makes no sense; std::exception for one that failed, which
    ///         names the command.
    bool Run(std::string_view line);

    /// What the last word of an unfinished line can become: commands, options, adapters, events.
    std::vector<std::string> Complete(std::string_view before, std::string_view word);

private:
    std::vector<Command> AddCommands(CLI::App& app);
    Command AddHelp(CLI::App& app);

    bool Ended = false;
};
