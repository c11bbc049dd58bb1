/// @file
/// The form of the tour.
#pragma once

#include <exception>
#include <fmt/format.h>
#include <string>
#include <string_view>

/// Runs steps and prints one line for each.
class TourSteps
{
public:
    /// @param action returns its report, or throws.
    template <class Action>
    bool Step(std::string_view name, const Action& action)
    {
        std::string line;
        bool good = true;
        try
        {
            line = action();
        }
        catch (const std::exception& failure)
        {
            line = fmt::format("FAILED: {}", failure.what());
            good = false;
            ++Failures;
        }
        fmt::print("{:<12}{}\n", name, line);
        return good;
    }

    int Failed() const { return Failures; }

private:
    int Failures = 0;
};
