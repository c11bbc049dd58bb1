/// @file
/// Prints the steps of the tour.
#pragma once

#include "Json.h"

#include <exception>
#include <fmt/core.h>
#include <string>
#include <string_view>

/// Runs steps and prints one line for each.
class TourSteps
{
public:
    /// @param json prints JSON objects instead of text.
    explicit TourSteps(bool json) : AsJson(json) {}

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
            line = failure.what();
            succeeded = false;
            ++Failures;
        }
        Print(name, succeeded ? "ok" : "failed", line);
        return succeeded;
    }

    /// Prints a line for a step that is left out.
    void Skip(std::string_view name, const std::string& reason) const { Print(name, "skipped", reason); }

    int Failed() const { return Failures; }

private:
    void Print(std::string_view name, std::string_view result, const std::string& report) const
    {
        if (AsJson)
            fmt::print("{}\n", Json(Json::Object{{"step", name}, {"result", result}, {"report", report}}).Line());
        else
            fmt::print("{:<12}{}{}\n", name,
                       result == "failed"    ? "FAILED: "
                       : result == "skipped" ? "skipped: "
                                             : "",
                       report);
    }

    const bool AsJson;
    int Failures = 0;
};
