/// @file
/// Prints the steps of the tour.
#pragma once

#include <exception>
#include <fmt/core.h>
#include <string>
#include <string_view>

/// Runs steps and prints one line for each.
class TourSteps
{
public:
    /// @param action returns its report, or throws. @return whether it succeeded.
    template <class Action>
    bool Step(std::string_view name, const Action& action)
    {
        std::string line;
        bool succeeded = true;
        try
        {
            line = action();
        }
        catch (const std::exception& failure)
        {
            line = fmt::format("FAILED: {}", failure.what());
            succeeded = false;
            ++Failures;
        }
        fmt::print("{:<12}{}\n", name, line);
        return succeeded;
    }

    int Failed() const { return Failures; }

private:
    int Failures = 0;
};
