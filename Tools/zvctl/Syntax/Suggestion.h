/// @file
/// Finds what a misspelled word may have meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Returns the candidate that a few typing errors turn into `word`, or that begins with it; empty if there is none.
std::string Suggestion(std::string_view word, const std::vector<std::string>& candidates);

/// Returns `cause`, followed by the suggestion as a question, and by the remedy.
std::string WithSuggestion(const std::string& cause, const std::string& suggestion, const std::string& remedy);
