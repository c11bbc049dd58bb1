/// @file
/// Completes an unfinished line.
#pragma once

#include "Command.h"

#include <string>
#include <string_view>
#include <vector>

/// Returns the commands, options, values, adapters or events that `word` can become after the words of `before`.
/// @param root the syntax of the line.
std::vector<std::string> CompleteWord(Syntax root, const std::vector<std::string>& before, std::string_view word);

/// Does the same for a line of a session.
std::vector<std::string> CompleteLine(std::string_view before, std::string_view word);
