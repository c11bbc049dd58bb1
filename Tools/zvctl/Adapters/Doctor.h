/// @file
/// Finds out why an adapter is not listed or cannot be used.
#pragma once

#include <string>
#include <vector>

enum class Verdict
{
    Ok,
    Note,    ///< Worth knowing, but no fault.
    Problem, ///< A fault that the user can remove.
};

/// One checked subject.
struct Finding
{
    std::string Subject = {};
    Verdict Result = Verdict::Ok;
    std::string Detail = {};
    std::string Remedy = {}; ///< Empty unless there is something to do.
};

/// Checks what surrounds the adapters: the machine, a simulated driver, the caller's rights and the event window.
/// @throws Failure if the library cannot be started.
std::vector<Finding> CheckSurroundings();

/// Checks each adapter of the operating system, and the list of the library. Opens the adapters that it lists.
std::vector<Finding> CheckAdapters();

/// Returns "ok", "note" or "problem".
const char* VerdictName(Verdict verdict);
