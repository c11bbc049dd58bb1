#include "ParseFault.h"

#include "DataText.h"
#include "Suggestion.h"

#include <algorithm>
#include <cctype>

namespace
{

/// Words such as LENGTH keep their first letter.
std::string WithoutCapital(std::string text)
{
    const auto isUpper = [](char c) { return std::isupper(static_cast<unsigned char>(c)) != 0; };
    if (text.size() > 1 && isUpper(text[0]) && !isUpper(text[1]))
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    return text;
}

/// Replaces those sentences of the parser that do not name the cause.
std::string Cause(const ParseFault& fault)
{
    switch (fault.What)
    {
    case ParseFault::Kind::WrongCount:
        return fault.Message.substr(0, fault.Message.find(':')) +
               (fault.Message.find("At Most") == std::string::npos ? " requires a value" : " is given more than once");
    case ParseFault::Kind::MissingCommand:
        return "one of " + Join(fault.Commands, ", ") + " is required";
    default:
        return WithoutCapital(fault.Message);
    }
}

std::string Remedy(const ParseFault& fault)
{
    const std::string& command = fault.Command;
    if (fault.Program.empty())
        return "run 'help" + (command.empty() ? "" : ' ' + command) + "'";
    return "run '" + fault.Program + ' ' + command + (command.empty() ? "" : " ") + "--help'";
}

} // namespace

/// An unexpected word is a misspelled option or command, or an argument too many. It often is the missing command.
std::string Describe(const ParseFault& fault, const std::function<std::string(const std::string&)>& explainWord)
{
    const std::string word = fault.Word.substr(0, fault.Word.find('='));
    const bool concernsWord =
        fault.What == ParseFault::Kind::UnexpectedWord || fault.What == ParseFault::Kind::MissingCommand;
    if (word.empty() || !concernsWord)
        return Cause(fault) + "; " + Remedy(fault);
    // After "--", the name of an option is an argument.
    const bool isOption = word.starts_with('-') && std::ranges::find(fault.Options, word) == fault.Options.end();
    if (isOption)
        return WithSuggestion("no option \"" + word + '"', Suggestion(word, fault.Options), Remedy(fault));
    if (fault.Commands.empty() || word.starts_with('-'))
        return "unexpected argument \"" + word + "\"; " + Remedy(fault);
    const std::string explained = explainWord(word);
    return explained.empty()
               ? WithSuggestion("no command \"" + word + '"', Suggestion(word, fault.Commands), Remedy(fault))
               : explained;
}
