#include "Command.h"
#include "DataText.h"
#include "Errors.h"
#include "Suggestion.h"

#include <fmt/core.h>

namespace
{

/// Returns the syntax of the words, or nothing for a word that names no command.
std::optional<Syntax> Describe(Syntax command, const std::vector<std::string>& words)
{
    std::optional<Syntax> described = command;
    for (const std::string& word : words)
        described = described ? described->Find(word) : std::nullopt;
    return described;
}

void Help(const Syntax& app, const std::vector<std::string>& words)
{
    if (const auto described = Describe(app, words))
        return fmt::print("{}", described->Help());
    // The program describes the commands of a session too.
    bool ended = false;
    CommandLine session;
    AddSessionCommands(session.Root(), ended);
    const auto described = Describe(session.Root(), words);
    if (!described)
        throw UsageError(WithSuggestion(fmt::format("no command \"{}\"", Join(words, " ")),
                                        Suggestion(words.front(), app.CommandNames()), "run 'help' for a list"));
    fmt::print("{}\nThis command works in 'zvctl shell' and 'zvctl script' only.\n", described->Help());
}

} // namespace

Command AddHelpCommand(Syntax app)
{
    const auto words = std::make_shared<std::vector<std::string>>();
    Syntax help = app.AddCommand("help", "List all commands, or describe one");
    help.AddTexts("COMMAND", *words, "Name of a command, such as list or reg read");
    return {help, [app, words] { Help(app, *words); }};
}
