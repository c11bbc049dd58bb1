#include "Syntax.h"

#include "DataText.h"
#include "Errors.h"
#include "ParseFault.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace
{

/// Shows an argument's own text, such as "[SUBKEY] NAME", instead of its name.
class UsageFormatter final : public CLI::Formatter
{
public:
    std::string make_option_usage(const CLI::Option* option) const override
    {
        const std::string& text = option->get_option_text();
        if (option->get_group().empty())
            return "";
        return text.empty() ? CLI::Formatter::make_option_usage(option) : text;
    }

    std::string make_option_name(const CLI::Option* option, bool isPositional) const override
    {
        const std::string& text = option->get_option_text();
        return text.empty() || !isPositional ? CLI::Formatter::make_option_name(option, isPositional) : text;
    }

    std::string make_option_opts(const CLI::Option* option) const override
    {
        return option->get_option_text().empty() ? CLI::Formatter::make_option_opts(option) : "";
    }

    /// A hidden option leaves a blank at the end.
    std::string make_usage(const CLI::App* app, std::string name) const override
    {
        std::string usage = CLI::Formatter::make_usage(app, std::move(name));
        while (usage.ends_with(" \n"))
            usage.erase(usage.size() - 2, 1);
        return usage;
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

/// Descends along the parsed commands, as from "reg" to "read".
CLI::App& Innermost(CLI::App& app)
{
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    return chosen.empty() ? app : Innermost(*chosen.back());
}

ParseFault::Kind KindOf(const CLI::ParseError& error)
{
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr)
        return ParseFault::Kind::UnexpectedWord;
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr)
        return ParseFault::Kind::WrongCount;
    return ParseFault::Kind::Other;
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

Option Option::Length(std::size_t least, std::size_t most)
{
    const std::string fault = "expected " + std::to_string(least) + " to " + std::to_string(most) + " characters";
    const auto check = [=](const std::string& text) {
        return text.size() >= least && text.size() <= most ? std::string() : fault;
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
    // The choices are stored in the name, which the parser does not show; see Choices.
    const CLI::Validator validator = CLI::Validator(check, "").name(Join(choices, ","));
    return Option(*Parsed->add_option(name, value, help)->check(validator)->type_name(""));
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

Option Syntax::AddPath(const std::string& name, std::vector<std::string>& values, const std::string& usage,
                       const std::string& help)
{
    // Two arguments, because the parser splits the texts of a list at commas if they begin with a bracket.
    const auto append = [&values](const CLI::results_t& texts) {
        values.push_back(texts.front());
        return true;
    };
    CLI::Option* const first = Parsed->add_option(name, CLI::callback_t(append), help)->required()->option_text(usage);
    Parsed->add_option(name + '2', CLI::callback_t(append))->group(""); // hidden
    return Option(*first);
}

Option Syntax::AddTexts(const std::string& name, std::vector<std::string>& values, const std::string& help)
{
    return Option(*Parsed->add_option(name, values, help)->type_name(""));
}

void Syntax::AddFinalRead(const std::string& name, const std::string& text, Reader read)
{
    // Called once all options of the command are parsed.
    Parsed->parse_complete_callback([name, &text, read = std::move(read)] { Read(name, read, text); });
}

std::string Syntax::Name() const
{
    // Two levels suffice: no command has more than one word before its own.
    const CLI::App* const parent = Parsed->get_parent();
    if (parent == nullptr)
        return "";
    return parent->get_parent() == nullptr ? Parsed->get_name() : parent->get_name() + ' ' + Parsed->get_name();
}

/// The parser's own help() describes the chosen command instead.
std::string Syntax::Help() const
{
    const CLI::App* root = Parsed;
    while (root->get_parent() != nullptr)
        root = root->get_parent();
    // The usage begins with the name of the program; a session has none.
    const std::string blank = root == Parsed || root->get_name().empty() ? "" : " ";
    return Parsed->get_formatter()->make_help(Parsed, root->get_name() + blank + Name(), CLI::AppFormatMode::Normal);
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
    // Every command accepts the options of the program too; --help is the only one that both have.
    for (const CLI::App* app = Parsed; app != nullptr; app = app->get_parent())
        for (const CLI::Option* option : app->get_options())
            for (const std::string& name : option->get_lnames())
                if (app == Parsed || name != "help")
                    names.push_back("--" + name);
    return names;
}

std::optional<std::string> Syntax::ArgumentName(std::size_t index) const
{
    std::string visible;
    for (const CLI::Option* option :
         Parsed->get_options([](const CLI::Option* each) { return each->get_positional(); }))
    {
        if (!option->get_group().empty())
            visible = option->get_name(true, false);
        const auto taken = static_cast<std::size_t>(option->get_items_expected_max());
        if (index < taken)
            return visible;
        index -= taken;
    }
    return std::nullopt;
}

std::vector<std::string> Syntax::Choices(const std::string& name) const
try
{
    std::vector<std::string> choices;
    // The first validator of a choice has the choices as its name.
    std::istringstream names(Parsed->get_option(name)->get_validator(0)->get_name());
    for (std::string choice; std::getline(names, choice, ',');)
        choices.push_back(choice);
    return choices;
}
catch (const CLI::OptionNotFound&)
{
    return {}; // no such option, or one without a validator
}

bool Syntax::TakesValue(const std::string& option) const
{
    const CLI::Option* const found = Parsed->get_option_no_throw(option);
    return found != nullptr && found->get_items_expected_max() > 0;
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
    throw UsageError(Complaint(error));
}

void CommandLine::ParseKnown(std::vector<std::string> words)
{
    App->allow_extras();
    App->set_help_flag(); // --help is to be ignored too
    Parse(std::move(words));
}

std::string CommandLine::Complaint(const std::exception& error) const
{
    const auto& parseError = dynamic_cast<const CLI::ParseError&>(error);
    const Syntax command(Innermost(*App));
    const std::vector<std::string> unexpected = App->remaining(true);
    ParseFault fault = {.What = KindOf(parseError),
                        .Message = error.what(),
                        .Word = unexpected.empty() ? "" : unexpected.front(),
                        .Program = App->get_name(),
                        .Command = command.Name(),
                        .Commands = command.CommandNames(),
                        .Options = command.OptionNames()};
    // The parser has one class for a missing command and a missing argument.
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr && !fault.Commands.empty())
        fault.What = ParseFault::Kind::MissingCommand;
    return Describe(fault, ExplainWord);
}

std::string CommandLine::ChosenName() const
{
    return Syntax(Innermost(*App)).Name();
}
