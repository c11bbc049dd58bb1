#include "LineRunner.h"

#include "DataText.h"
#include "EndSignals.h"
#include "Errors.h"
#include "EventFeed.h"
#include "EventView.h"
#include "Options.h"

#include <algorithm>
#include <fmt/core.h>

namespace
{

/// Restores the default handling of signals at the end of a scope.
struct SignalRelease
{
    SignalRelease() = default;
    ~SignalRelease() { EndSignals::Release(); }
    SignalRelease(const SignalRelease&) = delete;
    SignalRelease& operator=(const SignalRelease&) = delete;
};

/// Returns the failure with the command's name. Reports it as a JSON object too if the line asks for JSON, because the
/// reader of stdout expects it.
Failure Named(const Failure& failure, const std::string& command, bool json)
{
    if (json)
        ReportFailure(failure, command, true);
    return command.empty() ? failure : failure.After(command + ": ");
}

bool Parse(CommandLine& syntax, const std::vector<std::string>& words)
try
{
    return syntax.Parse(words);
}
catch (const UsageError& mistake)
{
    throw Named(mistake, syntax.ChosenName(), AsksForJson(words));
}

void RunCommand(const Command& command, bool json)
try
{
    const SignalRelease release; // between lines, Ctrl-C ends the session
    command.Run();
    FlushOutput();
}
catch (const std::exception&)
{
    throw Named(CurrentFailure(), command.Words.Name(), json);
}

/// Explains the commands that work outside of a session only.
std::string ExplainProgramCommand(const std::string& word)
{
    CommandLine program;
    AddProgramCommands(program.Root());
    return program.Root().Find(word) ? fmt::format("\"{}\" does not work in a session", word) : "";
}

} // namespace

/// A quote may start inside a word, and "" is an empty word. A # starts a comment only at the start of a word.
std::vector<std::string> SplitLine(std::string_view line)
{
    std::vector<std::string> words;
    bool inWord = false;
    char quote = '\0';
    for (const char c : line)
    {
        const bool blank = c == ' ' || c == '\t' || c == '\r';
        if (quote == '\0' && blank)
        {
            inWord = false;
            continue;
        }
        if (c == '#' && !inWord)
            break;
        if (!inWord)
            words.emplace_back();
        inWord = true;
        if (c == quote)
            quote = '\0';
        else if (quote == '\0' && (c == '"' || c == '\''))
            quote = c;
        else
            words.back() += c;
    }
    if (quote != '\0')
        throw UsageError(fmt::format("unterminated quote ({})", quote));
    return words;
}

LineRunner::LineRunner()
{
    // Registers before the first line, so that "wait" finds the events of earlier lines too.
    EventFeed::OfSession();
}

/// Runs a line that must fail. A syntax error is reported, because no script expects one.
void LineRunner::RunExpectingFailure(const std::vector<std::string>& words)
{
    try
    {
        RunWords(words);
    }
    catch (const Failure& failure)
    {
        if (failure.Code() == ExitCode::Usage)
            throw;
        return;
    }
    throw Failure(fmt::format("expect-fail: \"{}\" succeeded", Join(words, " ")));
}

void LineRunner::RunWords(const std::vector<std::string>& words)
{
    // The arguments of these two are not parsed here, because they may look like options.
    const std::vector<std::string> rest(words.begin() + 1, words.end());
    const bool asksForHelp = rest.size() == 1 && (rest.front() == "--help" || rest.front() == "-h");
    if (words.front() == "expect-fail" && !rest.empty() && !asksForHelp)
        return RunExpectingFailure(rest);
    if (words.front() == "echo" && !asksForHelp)
        return PrintNow(Join(rest, " "));

    // A new syntax for each line, because parsing changes the values of its options.
    CommandLine syntax;
    syntax.SetExplainer(ExplainProgramCommand);
    const std::vector<Command> commands = AddSessionCommands(syntax.Root(), Ended);
    // False after a line that only asked for help.
    if (Parse(syntax, words))
        RunCommand(*std::ranges::find_if(commands, [](const Command& command) { return command.Words.IsChosen(); }),
                   AsksForJson(words));
}

bool LineRunner::Run(std::string_view line)
{
    if (const std::vector<std::string> words = SplitLine(line); !words.empty())
        RunWords(words);
    return !Ended && !EndSignals::Terminated();
}
