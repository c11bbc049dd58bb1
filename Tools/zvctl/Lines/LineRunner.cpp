#include "LineRunner.h"

#include "EndSignals.h"
#include "Errors.h"
#include "EventFeed.h"
#include "Host.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fmt/format.h>
#include <iterator>
#include <system_error>

namespace
{

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
    const SignalRelease release; // after a line, Ctrl-C ends the session again
    command.Run();
    if (std::fflush(stdout) != 0)
        throw std::system_error(errno, std::generic_category(), "standard output");
}
catch (const std::exception& failure)
{
    throw std::runtime_error(fmt::format("{}: {}", CommandName(*command.Syntax), failure.what()));
}

} // namespace

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
    EventFeed::OfSession();
}

Command LineRunner::AddHelp(CLI::App& app)
{
    const auto name = std::make_shared<std::string>();
    CLI::App* const help = app.add_subcommand("help", "List all commands, or describe one");
    help->add_option("COMMAND", *name, "")->type_name("");
    return {help, [&app, name] {
                const CLI::App* const told = name->empty() ? &app : FindCommand(app, *name);
                if (told == nullptr)
                    throw std::runtime_error(fmt::format("no command \"{}\"", *name));
                fmt::print("{}", told->help());
            }};
}

std::vector<Command> LineRunner::AddCommands(CLI::App& app)
{
    std::vector<Command> commands = AddToolCommands(app);
    std::ranges::move(Host::AddSessionCommands(app), std::back_inserter(commands));
    std::ranges::move(AddWaitCommands(app), std::back_inserter(commands));
    commands.push_back(AddHelp(app));
    for (const char* name : {"quit", "exit"})
        commands.push_back({app.add_subcommand(name, "End"), [this] { Ended = true; }});
    return commands;
}

bool LineRunner::Run(std::string_view line)
{
    std::vector<std::string> words = SplitLine(line);
    if (words.empty())
        return true;
    CLI::App app;
    app.require_subcommand(1);
    const std::vector<Command> commands = AddCommands(app);
    if (const std::string& name = words.front(); !name.starts_with('-') && FindCommand(app, name) == nullptr)
        throw UsageError(fmt::format("no command \"{}\"; 'help' lists all", name));
    try
    {
        std::ranges::reverse(words); // as the parser takes them
        app.parse(std::move(words));
    }
    catch (const CLI::ParseError& error)
    {
        if (error.get_exit_code() != 0)
            throw UsageError(error.what());
        app.exit(error); // prints the help that was asked for
        return true;
    }
    RunCommand(*std::ranges::find_if(commands, [](const Command& command) { return command.Syntax->parsed(); }));
    return !Ended && !EndSignals::Terminated();
}
