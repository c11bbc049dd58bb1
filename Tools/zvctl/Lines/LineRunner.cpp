#include "LineRunner.h"

#include "EndSignals.h"
#include "Errors.h"
#include "EventFeed.h"
#include "Host.h"

#include <algorithm>
#include <fmt/core.h>
#include <iterator>

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

void RunCommand(const Command& command)
try
{
    const SignalRelease release; // between lines, Ctrl-C ends the session
    command.Run();
    FlushOutput();
}
catch (const std::exception& failure)
{
    throw std::runtime_error(fmt::format("{}: {}", command.Words.Name(), failure.what()));
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

Command LineRunner::AddHelp(Syntax app)
{
    const auto name = std::make_shared<std::string>();
    Syntax help = app.AddCommand("help", "List all commands, or describe one");
    help.AddText("COMMAND", *name, "");
    return {help, [app, name] {
                // Without a name the session's own commands are listed, which the program's --help does not contain.
                const std::optional<Syntax> described = name->empty() ? app : app.Find(*name);
                if (!described)
                    throw std::runtime_error(fmt::format("no command \"{}\"; run 'help'", *name));
                fmt::print("{}", described->Help());
            }};
}

std::vector<Command> LineRunner::AddCommands(Syntax app)
{
    std::vector<Command> commands = AddToolCommands(app);
    std::ranges::move(Host::AddSessionCommands(app), std::back_inserter(commands));
    std::ranges::move(AddWaitCommands(app), std::back_inserter(commands));
    commands.push_back(AddHelp(app));
    for (const char* name : {"quit", "exit"})
        commands.push_back({app.AddCommand(name, "End the session"), [this] { Ended = true; }});
    return commands;
}

bool LineRunner::Run(std::string_view line)
{
    std::vector<std::string> words = SplitLine(line);
    if (words.empty())
        return true;
    // A new syntax for each line, because parsing changes the values of its options.
    CommandLine syntax;
    const std::vector<Command> commands = AddCommands(syntax.Root());
    // Checked before parsing, because the parser's error for an unknown command does not mention 'help'.
    if (const std::string& name = words.front(); !name.starts_with('-') && !syntax.Root().Find(name))
        throw UsageError(fmt::format("no command \"{}\"; run 'help'", name));
    // False after a line that only asked for help.
    if (!syntax.Parse(std::move(words)))
        return true;
    RunCommand(*std::ranges::find_if(commands, [](const Command& command) { return command.Words.IsChosen(); }));
    return !Ended && !EndSignals::Terminated();
}
