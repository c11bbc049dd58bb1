#include "Command.h"
#include "Completion.h"
#include "Errors.h"
#include "Host.h"
#include "Options.h"
#include "Terminal.h"

#include <cstdio>
#include <cstdlib>
#include <fmt/core.h>
#include <functional>

namespace
{

using Words = std::vector<std::string>;

const Command& ChosenCommand(const std::vector<Command>& commands)
{
    for (const Command& command : commands)
        if (command.Words.IsChosen())
            return command;
    // The host's default command, tour or list; see AddProgramCommands.
    return commands.front();
}

/// Prints the failure that is being handled. Call in a handler only.
/// @param command what the message names; empty if the failure names it.
/// @return its exit code.
ExitCode Report(const std::string& command, bool json)
{
    const Failure failure = CurrentFailure();
    ReportFailure(failure, command, json);
    return failure.Code();
}

/// Names the place of a command that only sessions have.
std::string ExplainSessionCommand(const std::string& word)
{
    bool ended = false;
    CommandLine session;
    AddSessionCommands(session.Root(), ended);
    return session.Root().Find(word) ? fmt::format("\"{}\" works in 'zvctl shell' and 'zvctl script' only", word) : "";
}

/// The syntax of the command line.
class Program
{
public:
    Program()
    {
        Line.SetExplainer(ExplainSessionCommand);
        Line.Root()
            .AddChoice("--color", ColourName, {"auto", "always", "never"},
                       "Colours: auto (the default; on a terminal, unless NO_COLOR is set), always or never")
            .ValueName("WHEN");
    }

    ExitCode Run(const Words& words)
    {
        const bool json = AsksForJson(words);
        std::string name; // of what a failure concerns
        try
        {
            if (!Parse(words))
                return ExitCode::Success;
            SetUp();
            const Command& command = ChosenCommand(Commands);
            name = command.Words.Name();
            command.Run();
            FlushOutput();
            return ExitCode::Success;
        }
        catch (const UsageError&)
        {
            // Not for an error in the machine file, which no command causes.
            return Report(IsParsed ? name : Line.ChosenName(), json);
        }
        catch (const std::exception&)
        {
            return Report(name, json);
        }
    }

    /// Prints what the last word can become, for the completion of a shell. Errors print nothing: a shell would show
    /// them in the middle of the line.
    ExitCode Complete(Words words)
    {
        const std::string last = words.empty() ? "" : words.back();
        if (!words.empty())
            words.pop_back();
        try
        {
            // The options of the words select the machine whose adapters are completed. They are complete, although
            // the command may still lack arguments.
            CommandLine options({.Name = "zvctl", .Version = "", .Description = "", .Footer = ""});
            const auto setUp = Host::AddOptions(options.Root());
            options.ParseKnown(words);
            setUp();
            for (const std::string& text : CompleteWord(Line.Root(), words, last))
                fmt::print("{}\n", text);
        }
        catch (const std::exception&)
        {
            return ExitCode::OperationFailed;
        }
        return ExitCode::Success;
    }

private:
    bool Parse(const Words& words)
    {
        const bool isCommand = Line.Parse(words);
        IsParsed = true;
        SetColourMode(ColourName == "always"  ? ColourMode::Always
                      : ColourName == "never" ? ColourMode::Never
                                              : ColourMode::Auto);
        return isCommand;
    }

    bool IsParsed = false;
    CommandLine Line{{.Name = "zvctl",
                      .Version = ZVCTL_VERSION,
                      .Description = Host::Description,
                      .Footer = fmt::format("{}\n{}", Host::Footer, ExitCodeHelp)}};
    std::string ColourName = "auto";
    // Runs after parsing, because the options determine which machine the commands use.
    const std::function<void()> SetUp = Host::AddOptions(Line.Root());
    const std::vector<Command> Commands = AddProgramCommands(Line.Root());
};

ExitCode Run(const Words& words)
{
    Program program;
    // Not an option of the syntax, because any words may follow it.
    if (!words.empty() && words.front() == "--complete-args")
        return program.Complete({words.begin() + 1, words.end()});
    return program.Run(words);
}

} // namespace

int main(int argc, char** argv)
{
    Host::PrepareStreams();
    const ExitCode code = Run({argv + 1, argv + argc});
    std::fflush(nullptr);
    // A normal exit of the library would wait up to 2.5 seconds for each removed adapter, to check whether
    // its driver is uninstalled. Nothing would receive that event here.
    std::_Exit(static_cast<int>(code));
}
