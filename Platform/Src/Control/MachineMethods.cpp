#include "MachineMethods.h"

#include "Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

namespace Platform
{

namespace
{

/// An adapter and the texts that select it, in lower case.
struct Candidate
{
    AdapterId Id;
    std::string Identity;
    std::string Name;
};

/// Converts only ASCII letters; other letters take several bytes.
std::string LowerText(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

std::vector<Candidate> AllCandidates(const Machine& machine)
{
    std::vector<Candidate> all;
    for (const AdapterId id : machine.Adapters())
    {
        const AdapterDescription adapter = machine.Adapter(id);
        const std::u16string name = adapter.FriendlyName.value_or(adapter.Description.value_or(u""));
        all.push_back({id, LowerText(adapter.NetCfgInstanceId.value_or("")), LowerText(ToUtf8(name))});
    }
    return all;
}

/// Digits are an index and never a part of a name, so that a wrong index does not select another adapter.
std::vector<Candidate> Matching(const std::vector<Candidate>& all, const std::string& text)
{
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
    if (!text.empty() && end == text.data() + text.size())
        return error == std::errc{} && index < all.size() ? std::vector{all[index]} : std::vector<Candidate>{};
    const std::string wanted = LowerText(text);
    std::vector<Candidate> found;
    const auto collect = [&](auto fits) {
        std::ranges::copy_if(all, std::back_inserter(found),
                             [&](const Candidate& one) { return fits(one.Identity) || fits(one.Name); });
    };
    // A complete identity or name wins, even if it is a part of another adapter's text.
    collect([&](const std::string& name) { return name == wanted; });
    if (found.empty())
        collect([&](const std::string& name) { return name.find(wanted) != std::string::npos; });
    return found;
}

std::array<std::span<const NamedMethod>, 4> AllMethods()
{
    return {AdapterMethods(), RegistryMethods(), ProcessMethods(), ChangeMethods()};
}

} // namespace

AdapterId ChosenAdapter(const Machine& machine, const JsonNode& params)
{
    if (params.HasMember("id"))
    {
        const AdapterId id = params.Member("id").Number();
        const std::vector<AdapterId> ids = machine.Adapters();
        if (std::ranges::find(ids, id) == ids.end())
            throw MethodError("noAdapter", "no adapter has the id " + std::to_string(id));
        return id;
    }
    const std::string text = params.Member("adapter").Text();
    const std::vector<Candidate> found = Matching(AllCandidates(machine), text);
    if (found.empty())
        throw MethodError("noAdapter", "no adapter matches \"" + text + '"');
    if (found.size() > 1)
        throw MethodError("severalAdapters", "several adapters match \"" + text + '"');
    return found.front().Id;
}

std::uint32_t NumberOr(const JsonNode& params, const char* name, std::uint32_t otherwise, std::uint32_t largest)
{
    return params.HasMember(name) ? params.Member(name).Number(largest) : otherwise;
}

Method FindMethod(std::string_view name)
{
    for (const std::span<const NamedMethod> group : AllMethods())
    {
        const auto found = std::ranges::find(group, name, &NamedMethod::Name);
        if (found != group.end())
            return found->Run;
    }
    return nullptr;
}

std::vector<std::string> MethodNames()
{
    std::vector<std::string> names;
    for (const std::span<const NamedMethod> group : AllMethods())
        for (const NamedMethod& method : group)
            names.emplace_back(method.Name);
    return names;
}

} // namespace Platform
