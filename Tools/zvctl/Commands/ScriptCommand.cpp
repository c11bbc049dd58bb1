#include "Command.h"
#include "Errors.h"
#include "LineRunner.h"

#include <cerrno>
#include <cstring>
#include <fmt/core.h>
#include <fstream>
#include <iostream>

namespace
{

/// Stops at the first line that fails.
void RunLines(std::istream& lines, const std::string& name)
{
    LineRunner runner;
    std::size_t number = 0;
    try
    {
        bool more = true;
        for (std::string line; more && std::getline(lines, line);)
        {
            ++number;
            more = runner.Run(line);
        }
    }
    catch (const std::exception&)
    {
        throw CurrentFailure().After(fmt::format("{}:{}: ", name, number));
    }
    // Opening a directory succeeds; only reading it fails.
    if (lines.bad())
        throw UsageError(name + ": cannot be read");
}

void Script(const std::string& file)
{
    if (file == "-")
        return RunLines(std::cin, "stdin");
    std::ifstream lines(file);
    if (!lines)
        throw UsageError(fmt::format("{}: cannot be read: {}", file, std::strerror(errno)));
    RunLines(lines, file);
}

} // namespace

Command AddScriptCommand(Syntax app)
{
    const auto file = std::make_shared<std::string>();
    Syntax script = app.AddCommand("script", "Run the lines of a file; stop at the first failure");
    script.AddText("FILE", *file, "Script file, or - for stdin").Required();
    return {script, [file] { Script(*file); }};
}
