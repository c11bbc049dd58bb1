// Completes an unfinished line.
#include "AdapterView.h"
#include "Errors.h"
#include "EventView.h"
#include "Host.h"
#include "Library.h"
#include "LineRunner.h"

#include <algorithm>
#include <sstream>

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

/// @param arguments number of words after the command. The adapter and the event are always the first argument.
Texts Candidates(const Syntax& command, std::size_t arguments, std::string_view word)
{
    if (word.starts_with('-'))
        return command.OptionNames();
    if (arguments == 0 && command.HasArgument("ADAPTER"))
        return AdapterTexts();
    Texts texts = command.CommandNames();
    if (arguments == 0 && command.HasArgument("EVENT"))
        for (const auto& [code, name] : EventNames)
            texts.emplace_back(name);
    return texts;
}

/// Ignores the case of ASCII letters, as the choice of an adapter does.
bool BeginsWith(std::string_view text, std::string_view word)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return word.size() <= text.size() && std::ranges::equal(text.substr(0, word.size()), word, {}, lower, lower);
}

} // namespace

std::vector<std::string> LineRunner::Complete(std::string_view before, std::string_view word)
try
{
    // Built like the syntax of Run, so that every command that runs can be completed.
    CommandLine line;
    AddCommands(line.Root());
    Syntax command = line.Root();
    std::size_t arguments = 0;
    for (const std::string& given : SplitLine(before))
        // A word that names no command is an argument of the command so far.
        if (const std::optional<Syntax> next = command.Find(given))
            command = *next;
        else if (!given.starts_with('-'))
            ++arguments;
    Texts texts = Candidates(command, arguments, word);
    std::erase_if(texts, [&](const std::string& text) { return text.empty() || !BeginsWith(text, word); });
    return texts;
}
catch (const std::runtime_error&)
{
    return {}; // an unterminated quote, or adapters that cannot be listed
}
