#include "Command.h"
#include "Doctor.h"
#include "Errors.h"
#include "Json.h"
#include "Options.h"
#include "Terminal.h"

#include <algorithm>
#include <fmt/core.h>

namespace
{

Json FindingsJson(const std::vector<Finding>& findings)
{
    Json::Array array;
    for (const Finding& finding : findings)
        array.emplace_back(Json::Object{{"subject", finding.Subject},
                                        {"result", VerdictName(finding.Result)},
                                        {"detail", finding.Detail},
                                        {"remedy", finding.Remedy.empty() ? Json() : Json(finding.Remedy)}});
    return array;
}

Colour ColourOf(Verdict verdict)
{
    constexpr Colour colours[] = {Colour::Green, Colour::Yellow, Colour::Red};
    return colours[static_cast<std::size_t>(verdict)];
}

void PrintFindings(const std::vector<Finding>& findings)
{
    for (const Finding& finding : findings)
        fmt::print("{} {}: {}{}{}\n",
                   Painted(stdout, ColourOf(finding.Result), fmt::format("{:<7}", VerdictName(finding.Result))),
                   finding.Subject, finding.Detail, finding.Remedy.empty() ? "" : "; ", finding.Remedy);
}

std::size_t CountProblems(const std::vector<Finding>& findings)
{
    return static_cast<std::size_t>(std::ranges::count(findings, Verdict::Problem, &Finding::Result));
}

void Examine(bool json)
{
    const std::vector<Finding> surroundings = CheckSurroundings();
    const std::vector<Finding> adapters = CheckAdapters();
    const std::size_t problems = CountProblems(surroundings) + CountProblems(adapters);
    if (json)
        fmt::print("{}", Json(Json::Object{{"problems", problems},
                                           {"checks", FindingsJson(surroundings)},
                                           {"adapters", FindingsJson(adapters)}})
                             .Text());
    else
    {
        PrintFindings(surroundings);
        PrintFindings(adapters);
    }
    if (problems != 0)
        throw Failure::WithReport(fmt::format("found {} problem{}", problems, problems == 1 ? "" : "s"));
}

} // namespace

Command AddDoctorCommand(Syntax app)
{
    const auto json = std::make_shared<bool>();
    const Syntax doctor = app.AddCommand("doctor", "Check why an adapter is not listed or cannot be used");
    AddJson(doctor, *json);
    return {doctor, [json] { Examine(*json); }};
}
