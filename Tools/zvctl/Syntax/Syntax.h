/// @file
/// The syntax of a command line. Only Syntax.cpp includes the parser library, which takes long to compile.
#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

/// An argument or an option of a command. Copies refer to the same one. A name that begins with "--" is an
/// option, any other a positional argument.
class Option
{
public:
    explicit Option(CLI::Option& option) : Parsed(&option) {}

    Option Required();
    Option Requires(Option other);
    Option Excludes(Option other);
    Option Length(std::size_t least, std::size_t most);
    /// Sets the placeholder of the value in the help; there is none by default.
    Option ValueName(const std::string& name);

private:
    CLI::Option* Parsed;
};

/// A command with its arguments and options. Copies refer to the same command, which its CommandLine owns.
class Syntax
{
public:
    /// Reads the text of a value. Throws std::invalid_argument that describes the error.
    using Reader = std::function<void(const std::string&)>;

    explicit Syntax(CLI::App& app) : Parsed(&app) {}

    Syntax AddCommand(const std::string& name, const std::string& help);
    /// Makes one of the commands below this one mandatory.
    void RequireCommand();

    /// Adds a text; the help shows its default unless it is empty. `value` is set by parsing, here and below.
    Option AddText(const std::string& name, std::string& value, const std::string& help);
    Option AddChoice(const std::string& name, std::string& value, const std::vector<std::string>& choices,
                     const std::string& help);
    Option AddFlag(const std::string& name, bool& value, const std::string& help);
    Option AddParsed(const std::string& name, Reader read, const std::string& help);
    /// Adds one or two arguments, the last of which has a name, shown as `usage`.
    Option AddPath(const std::string& name, std::vector<std::string>& values, const std::string& usage,
                   const std::string& help);
    /// Adds any number of arguments.
    Option AddTexts(const std::string& name, std::vector<std::string>& values, const std::string& help);
    /// Calls `read` after all values of the command were parsed.
    void AddFinalRead(const std::string& name, const std::string& text, Reader read);

    /// Returns the command as it is typed: "list", "reg read".
    std::string Name() const;
    std::string Help() const;
    /// Returns whether the parsed words contain this command.
    bool IsChosen() const;

    /// Returns the command of that name directly below this one.
    std::optional<Syntax> Find(std::string_view name) const;
    std::vector<std::string> CommandNames() const;
    /// Returns the command's options and those of the program.
    std::vector<std::string> OptionNames() const;
    /// Returns the name of the argument at an index; the last one may take all that follow.
    std::optional<std::string> ArgumentName(std::size_t index) const;
    /// Returns the values that AddChoice permits for an argument or option; empty if there are others.
    std::vector<std::string> Choices(const std::string& name) const;
    /// Returns whether a value follows the option.
    bool TakesValue(const std::string& option) const;

private:
    CLI::App* Parsed;
};

/// Help texts of the program.
struct ProgramTexts
{
    std::string Name;
    std::string Version;
    std::string Description;
    std::string Footer;
};

/// Owns the syntax of one command line.
class CommandLine
{
public:
    /// A line of a session, which needs a command.
    CommandLine();
    /// The arguments of a program, where the command and its options may be missing.
    explicit CommandLine(const ProgramTexts& texts);
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// Explains a word that is no command here. Returns an empty text if it cannot.
    using Explainer = std::function<std::string(const std::string& word)>;

    Syntax Root() const { return Syntax(*App); }

    /// Sets the function that explains commands of another place.
    void SetExplainer(Explainer explain) { ExplainWord = std::move(explain); }

    /// @return false if the words ask for help or the version, which is printed.
    /// @throws UsageError with cause and remedy.
    bool Parse(std::vector<std::string> words);

    /// Parses the options among words and ignores all others. @throws UsageError for a wrong value.
    void ParseKnown(std::vector<std::string> words);

    /// Returns the innermost command among the parsed words, even after an error; empty without one.
    std::string ChosenName() const;

private:
    std::string Complaint(const std::exception& error) const;

    const std::unique_ptr<CLI::App> App;
    Explainer ExplainWord = [](const std::string&) { return std::string(); };
};
