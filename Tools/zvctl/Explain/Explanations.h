/// @file
/// Explanations of the numbers and names that zvctl prints.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

enum class ExplainedKind
{
    Status,  ///< Of a library operation.
    Flag,    ///< Of an adapter's state.
    Event,   ///< Of the adapters or the computer.
    Problem, ///< Of a device node of Windows.
};

struct Explanation
{
    ExplainedKind Kind;
    std::uint32_t Number;
    std::string_view Name;
    std::string_view Meaning;
    std::string_view Cause;
    std::string_view Remedy;
};

/// Returns all explanations, ordered by kind and number.
std::span<const Explanation> Explanations();

/// Returns "status", "flag", "event" or "problem".
std::string_view KindName(ExplainedKind kind);

/// Returns the names of one kind.
std::vector<std::string> ExplainedNames(ExplainedKind kind);

/// Returns the explanations of a number, decimal or with 0x, or of a name, with or without the prefix of its kind and
/// regardless of case. A kind may precede it.
/// @throws UsageError with a suggestion if there is none.
std::vector<Explanation> FindExplanations(const std::vector<std::string>& words);

/// Returns the published name of a problem number, or an empty text.
std::string_view ProblemName(std::uint32_t problem);
