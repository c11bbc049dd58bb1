/// @file
/// Runs the lines of a session, which share one machine, one manager, their open devices and one event feed.
#pragma once

#include "Command.h"

#include <string>
#include <string_view>
#include <vector>

/// Splits a line at blanks. Single or double quotes group blanks and '#'; a word that begins with '#' starts a
/// comment. @throws UsageError for an unterminated quote.
std::vector<std::string> SplitLine(std::string_view line);

/// Runs the lines of one session.
class LineRunner
{
public:
    /// Starts the event feed, so that no later event is missed. @throws OperationFailed
    LineRunner();

    /// Runs a line. @return false if the line ends the session.
    /// @throws UsageError for a syntax error; Failure otherwise. Both name the command.
    bool Run(std::string_view line);

private:
    void RunWords(const std::vector<std::string>& words);
    void RunExpectingFailure(const std::vector<std::string>& words);

    bool Ended = false;
};
