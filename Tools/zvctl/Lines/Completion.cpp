#include "Completion.h"

#include "AdapterView.h"
#include "Explanations.h"
#include "Host.h"
#include "Library.h"
#include "LineRunner.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace
{

using Texts = std::vector<std::string>;

/// Adds the words of a name that no other adapter's name contains, so that each selects its adapter.
void AddUniqueWords(const std::vector<AdapterName>& names, const std::string& name, Texts& texts)
{
    std::istringstream words(name);
    for (std::string word; words >> word;)
        if (word.front() != '#' && std::ranges::count_if(names, [&](const AdapterName& other) {
                                       return other.Name.find(word) != std::string::npos;
                                   }) == 1)
            texts.push_back(word);
}

/// Returns the texts that select an adapter of the list or of the machine.
Texts AdapterTexts()
{
    std::vector<AdapterName> names = Host::KnownAdapters();
    for (const _ZV_SRVC_DEVICE_INFO& adapter : ListAllOrNone())
        if (const std::string identity(FieldText(adapter.NetCfgInstanceId));
            std::ranges::find(names, identity, &AdapterName::Identity) == names.end())
            names.push_back({identity, std::string(FieldText(adapter.DeviceName))});
    Texts texts;
    for (const AdapterName& name : names)
    {
        texts.push_back(name.Identity);
        AddUniqueWords(names, name.Name, texts);
    }
    return texts;
}

/// What the words before the unfinished one mean.
struct Place
{
    Syntax Command;
    std::size_t Arguments = 0; ///< Words after the command that are neither options nor their values.
    std::string Option = {};   ///< The option whose value is unfinished; empty if it is none.
};

/// Options of the program may follow a command, so an option is searched in both.
bool TakesValue(const Syntax& root, const Syntax& command, const std::string& option)
{
    return command.TakesValue(option) || root.TakesValue(option);
}

Place Follow(const Syntax& root, const Texts& before)
{
    Place place{.Command = root};
    for (const std::string& word : before)
        if (!place.Option.empty())
            place.Option.clear();
        else if (word.starts_with("--"))
            place.Option = TakesValue(root, place.Command, word) ? word : "";
        // A word that names no command is an argument of the command so far.
        else if (const std::optional<Syntax> next = place.Command.Find(word); next && place.Arguments == 0)
            place.Command = *next;
        else if (place.Command.Name() == "expect-fail")
            return Follow(root, {std::ranges::find(before, word), before.end()});
        else
            ++place.Arguments;
    return place;
}

/// The names of filters are not choices, because a filter may name any service.
Texts OptionValues(const Syntax& root, const Place& place)
{
    if (place.Option == "--filter")
        return {"ZV_ALL", "ZV_USB", "ZV_SDIO", "ZV_PCIE"};
    Texts choices = place.Command.Choices(place.Option);
    return choices.empty() ? root.Choices(place.Option) : choices;
}

Texts Candidates(const Syntax& root, const Place& place, std::string_view word)
{
    if (!place.Option.empty())
        return OptionValues(root, place);
    if (word.starts_with('-'))
        return place.Command.OptionNames();
    const std::optional<std::string> argument = place.Command.ArgumentName(place.Arguments);
    if (argument == "ADAPTER")
        return AdapterTexts();
    if (argument == "FLAG")
        return ExplainedNames(ExplainedKind::Flag);
    if (argument == "COMMAND")
        return root.CommandNames();
    return argument ? place.Command.Choices(*argument) : place.Command.CommandNames();
}

/// Ignores the case of ASCII letters, as the choice of an adapter does.
bool BeginsWith(std::string_view text, std::string_view word)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return word.size() <= text.size() && std::ranges::equal(text.substr(0, word.size()), word, {}, lower, lower);
}

} // namespace

Texts CompleteWord(Syntax root, const Texts& before, std::string_view word)
try
{
    Texts texts = Candidates(root, Follow(root, before), word);
    std::erase_if(texts, [&](const std::string& text) { return text.empty() || !BeginsWith(text, word); });
    return texts;
}
catch (const std::runtime_error&)
{
    return {}; // adapters that cannot be listed
}

Texts CompleteLine(std::string_view before, std::string_view word)
try
{
    // Built like the syntax of a line, so that every command that runs can be completed.
    bool ended = false;
    CommandLine line;
    AddSessionCommands(line.Root(), ended);
    return CompleteWord(line.Root(), SplitLine(before), word);
}
catch (const std::runtime_error&)
{
    return {}; // an unterminated quote
}
