/// @file
/// Converts the lines of a journal to text.
#pragma once

#include "JournalAdapters.h"
#include "Json.h"

#include <string>

/// A change in words.
struct ChangeWords
{
    std::string Kind;                       ///< Such as "adapter changed".
    std::string Details;                    ///< May be empty.
    std::vector<std::size_t> Adapters = {}; ///< Indices of the adapters that it concerns.
};

/// Describes a change and applies it to the adapters. @throws Platform::JsonError
ChangeWords Describe(const JournalLine& line, JournalAdapters& adapters);

/// Returns the names of adapters, separated by commas.
std::string AdapterNames(const ChangeWords& words, const JournalAdapters& adapters);

/// Returns a time with milliseconds in the time zone of the computer: "2026-11-24 20:35:38.123".
std::string LocalText(JournalTime time);
