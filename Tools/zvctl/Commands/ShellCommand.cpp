#include "Command.h"
#include "Completion.h"
#include "Errors.h"
#include "Host.h"
#include "LineEditor.h"
#include "LineRunner.h"

#include <fmt/core.h>
#include <iostream>
#include <unistd.h>

namespace
{

using LineSource = std::function<std::optional<std::string>()>;

/// The source owns the editor.
LineSource TerminalLines()
{
    const auto editor = std::make_shared<LineEditor>(CompleteLine);
    return [editor] { return editor->Read("zvctl> "); };
}

std::optional<std::string> NextPlainLine()
{
    std::string line;
    return std::getline(std::cin, line) ? std::optional(std::move(line)) : std::nullopt;
}

/// Prints a failure, after which the session continues. @return false after the last line of the session.
bool RunAndReport(LineRunner& runner, const std::string& line)
try
{
    return runner.Run(line);
}
catch (const std::exception&)
{
    ReportFailure(CurrentFailure(), "", false);
    return true;
}

void Shell()
{
    LineRunner runner;
    // Without a terminal, for example with piped input, neither a prompt nor editing is useful.
    const LineSource next = isatty(STDIN_FILENO) != 0 ? TerminalLines() : NextPlainLine;
    while (const std::optional<std::string> line = next())
        if (!RunAndReport(runner, *line))
            return;
}

} // namespace

Command AddShellCommand(Syntax app)
{
    const auto json = std::make_shared<bool>();
    Syntax shell = app.AddCommand("shell", "Run an interactive session; 'help' lists its commands");
    shell.AddFlag("--json", *json, "Read calls of the control protocol; print its answers");
    return {shell, [json] {
                if (*json)
                    Host::RunProtocol("-", false);
                else
                    Shell();
            }};
}
