#include "Syntax.h"

#include "DataText.h"
#include "Errors.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace
{

/// Shows an option's own text in the usage line, where the base class shows "PATH(1x)".
class UsageFormatter final : public CLI::Formatter
{
public:
    std::string make_option_usage(const CLI::Option* option) const override
    {
        const std::string& text = option->get_option_text();
        return text.empty() ? CLI::Formatter::make_option_usage(option) : text;
    }
};

/// Converts the error of a value to one of the parser, which then names the option.
void Read(const std::string& name, const Syntax::Reader& read, const std::string& text)
try
{
    read(text);
}
catch (const std::invalid_argument& mistake)
{
    throw CLI::ValidationError(name, mistake.what());
}

/// Without a filter, get_subcommands returns only the commands that were parsed.
std::vector<CLI::App*> AllCommands(CLI::App& app)
{
    return app.get_subcommands([](const CLI::App*) { return true; });
}

/// Words such as LENGTH keep their first letter.
std::string WithoutCapital(std::string text)
{
    const auto isUpper = [](char c) { return std::isupper(static_cast<unsigned char>(c)) != 0; };
    if (text.size() > 1 && isUpper(text[0]) && !isUpper(text[1]))
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    return text;
}

/// Descends along the parsed commands, as from "reg" to "read".
CLI::App& Innermost(CLI::App& app)
{
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    return chosen.empty() ? app : Innermost(*chosen.back());
}

/// Replaces the parser's sentence about unexpected words, which lists them in reverse.
std::string Cause(const CLI::ParseError& error, CLI::App& app)
{
    if (dynamic_cast<const CLI::ExtrasError*>(&error) == nullptr)
        return WithoutCapital(error.what());
    std::string cause = "not expected:";
    for (const std::string& word : app.remaining(true))
        cause += ' ' + word;
    return cause;
}

} // namespace

Option Option::Required()
{
    Parsed->required();
    return *this;
}

Option Option::Requires(Option other)
{
    Parsed->needs(other.Parsed);
    return *this;
}

Option Option::Excludes(Option other)
{
    Parsed->excludes(other.Parsed);
    return *this;
}

Option Option::MaxLength(std::size_t characters)
{
    const auto check = [characters](const std::string& text) {
        return text.size() <= characters ? "" : "at most " + std::to_string(characters) + " characters";
    };
    Parsed->check(CLI::Validator(check, ""));
    return *this;
}

Option Option::ValueName(const std::string& name)
{
    Parsed->type_name(name);
    return *this;
}

Syntax Syntax::AddCommand(const std::string& name, const std::string& help)
{
    return Syntax(*Parsed->add_subcommand(name, help));
}

void Syntax::RequireCommand()
{
    Parsed->require_subcommand(1);
}

Option Syntax::AddText(const std::string& name, std::string& value, const std::string& help)
{
    CLI::Option* const option = Parsed->add_option(name, value, help)->type_name("");
    // Shown in the help as the default.
    if (!value.empty())
        option->default_str(value);
    return Option(*option);
}

Option Syntax::AddChoice(const std::string& name, std::string& value, const std::vector<std::string>& choices,
                         const std::string& help)
{
    // The parser's own check for membership does not quote the text.
    const auto check = [choices](const std::string& text) {
        return std::ranges::find(choices, text) != choices.end() ? ""
                                                                 : '"' + text + "\" is none of " + Join(choices, ", ");
    };
    return Option(*Parsed->add_option(name, value, help)->check(CLI::Validator(check, ""))->type_name(""));
}

Option Syntax::AddFlag(const std::string& name, bool& value, const std::string& help)
{
    return Option(*Parsed->add_flag(name, value, help));
}

Option Syntax::AddParsed(const std::string& name, Reader read, const std::string& help)
{
    // The value is read at once; a value whose format depends on another option uses AddFinalRead.
    CLI::callback_t callback = [name, read = std::move(read)](const CLI::results_t& texts) {
        Read(name, read, texts.front());
        return true;
    };
    return Option(*Parsed->add_option(name, std::move(callback), help)->type_name(""));
}

Option Syntax::AddPath(std::vector<std::string>& values, const std::string& usage, const std::string& help)
{
    return Option(*Parsed->add_option("PATH", values, help)->required()->expected(1, 2)->option_text(usage));
}

void Syntax::AddFinalRead(const std::string& name, const std::string& text, Reader read)
{
    // Called once all options of the command are parsed.
    Parsed->parse_complete_callback([name, &text, read = std::move(read)] { Read(name, read, text); });
}

std::string Syntax::Name() const
{
    // Two levels suffice: only "reg" has commands below it.
    const CLI::App* const parent = Parsed->get_parent();
    if (parent == nullptr)
        return "";
    return parent->get_parent() == nullptr ? Parsed->get_name() : parent->get_name() + ' ' + Parsed->get_name();
}

/// The parser's own help() describes the chosen command instead.
std::string Syntax::Help() const
{
    return Parsed->get_formatter()->make_help(Parsed, Parsed->get_name(), CLI::AppFormatMode::Normal);
}

bool Syntax::IsChosen() const
{
    return Parsed->parsed();
}

std::optional<Syntax> Syntax::Find(std::string_view name) const
{
    const auto commands = AllCommands(*Parsed);
    const auto found = std::ranges::find(commands, name, [](const CLI::App* command) { return command->get_name(); });
    return found == commands.end() ? std::nullopt : std::optional(Syntax(**found));
}

std::vector<std::string> Syntax::CommandNames() const
{
    std::vector<std::string> names;
    for (const CLI::App* command : AllCommands(*Parsed))
        names.push_back(command->get_name());
    return names;
}

std::vector<std::string> Syntax::OptionNames() const
{
    std::vector<std::string> names;
    for (const CLI::Option* option : Parsed->get_options())
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    return names;
}

bool Syntax::HasArgument(const std::string& name) const
{
    return Parsed->get_option_no_throw(name) != nullptr;
}

CommandLine::CommandLine() : App(std::make_unique<CLI::App>())
{
    App->formatter(std::make_shared<UsageFormatter>());
    // A line of a session always names a command; a program call may omit it.
    App->require_subcommand(1);
}

CommandLine::CommandLine(const ProgramTexts& texts) : App(std::make_unique<CLI::App>(texts.Description, texts.Name))
{
    App->formatter(std::make_shared<UsageFormatter>());
    App->require_subcommand(0, 1);
    App->fallthrough(); // accepts the program's options after the command too
    App->footer(texts.Footer);
    App->set_version_flag("--version", texts.Name + ' ' + texts.Version);
}

CommandLine::~CommandLine() = default;

bool CommandLine::Parse(std::vector<std::string> words)
try
{
    std::ranges::reverse(words); // the parser's order
    App->parse(std::move(words));
    return true;
}
catch (const CLI::ParseError& error)
{
    // The parser reports --help and --version as errors with this code.
    if (error.get_exit_code() == 0)
    {
        App->exit(error); // prints
        return false;
    }
    const std::string name = ChosenName();
    throw UsageError((name.empty() ? "" : name + ": ") + Cause(error, *App));
}

std::string CommandLine::ChosenName() const
{
    return Syntax(Innermost(*App)).Name();
}
