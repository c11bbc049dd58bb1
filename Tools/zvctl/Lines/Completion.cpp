// Completes an unfinished line.
#include "AdapterView.h"
#include "Errors.h"
#include "EventView.h"
#include "Host.h"
#include "Library.h"
#include "LineRunner.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

namespace
{

using Texts = std::vector<std::string>;

/// The words of a name that no other adapter's name has, so that each chooses its adapter.
void AddOwnWords(const std::vector<AdapterName>& names, const std::string& name, Texts& texts)
{
    std::istringstream words(name);
    for (std::string word; words >> word;)
        if (word.front() != '#' && std::ranges::count_if(names, [&](const AdapterName& other) {
                                       return other.Name.find(word) != std::string::npos;
                                   }) == 1)
            texts.push_back(word);
}

/// Listed adapters, and the machine's own.
Texts AdapterTexts()
{
    std::vector<AdapterName> names = Host::KnownAdapters();
    for (const _ZV_SRVC_DEVICE_INFO& adapter : ListAll())
        if (const std::string identity(FieldText(adapter.NetCfgInstanceId));
            std::ranges::find(names, identity, &AdapterName::Identity) == names.end())
            names.push_back({identity, std::string(FieldText(adapter.DeviceName))});
    Texts texts;
    for (const AdapterName& name : names)
    {
        texts.push_back(name.Identity);
        AddOwnWords(names, name.Name, texts);
    }
    return texts;
}

Texts OptionTexts(const CLI::App& app)
{
    Texts texts;
    for (const CLI::Option* option : app.get_options())
        for (const std::string& name : option->get_lnames())
            texts.push_back("--" + name);
    return texts;
}

Texts Candidates(const CLI::App& app, std::size_t positionals, std::string_view word)
{
    Texts texts;
    if (word.starts_with('-'))
        return OptionTexts(app);
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        texts.push_back(command->get_name());
    if (positionals == 0 && app.get_option_no_throw("ADAPTER") != nullptr)
        return AdapterTexts();
    if (positionals == 0 && app.get_option_no_throw("EVENT") != nullptr)
        for (const auto& [code, name] : EventNames)
            texts.emplace_back(name);
    return texts;
}

bool BeginsWith(std::string_view text, std::string_view word)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return word.size() <= text.size() && std::ranges::equal(text.substr(0, word.size()), word, {}, lower, lower);
}

} // namespace

std::vector<std::string> LineRunner::Complete(std::string_view before, std::string_view word)
try
{
    CLI::App root;
    AddCommands(root);
    const CLI::App* app = &root;
    std::size_t positionals = 0;
    for (const std::string& given : SplitLine(before))
        if (const CLI::App* const next = FindCommand(*app, given); next != nullptr)
            app = next;
        else if (!given.starts_with('-'))
            ++positionals;
    Texts texts = Candidates(*app, positionals, word);
    std::erase_if(texts, [&](const std::string& text) { return text.empty() || !BeginsWith(text, word); });
    return texts;
}
catch (const std::runtime_error&)
{
    return {}; // an open quote, or a list that cannot be had
}
