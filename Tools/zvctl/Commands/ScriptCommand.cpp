#include "Command.h"
#include "Errors.h"
#include "Host.h"
#include "LineRunner.h"

#include <cerrno>
#include <cstring>
#include <fmt/core.h>
#include <fstream>
#include <iostream>

namespace
{

struct ScriptOptions
{
    std::string File;
    bool Json = false;
};

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
    const auto options = std::make_shared<ScriptOptions>();
    Syntax script = app.AddCommand("script", "Run the lines of a file; stop at the first failure");
    script.AddText("FILE", options->File, "Script file, or - for stdin").Required();
    script.AddFlag("--json", options->Json, "The lines are calls of the control protocol; print its answers");
    return {script, [options] {
                if (options->Json)
                    Host::RunProtocol(options->File, true);
                else
                    Script(options->File);
            }};
}
