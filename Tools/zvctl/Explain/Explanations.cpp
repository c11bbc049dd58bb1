#include "Explanations.h"

#include "DataText.h"
#include "Errors.h"
#include "Suggestion.h"

#include <algorithm>
#include <fmt/core.h>
#include <iterator>
#include <optional>
#include <stdexcept>

namespace
{

constexpr std::string_view Prefixes[] = {"ZV_SRVC_ERR_", "ZV_SRVC_", "CM_PROB_"};

/// Names are compared in lower case, with a hyphen where constants have an underscore.
std::string Normal(std::string_view text)
{
    std::string normal(text);
    std::ranges::transform(normal, normal.begin(), [](char c) {
        if (c == '_')
            return '-';
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return normal;
}

/// Returns the name and its forms without a prefix.
std::vector<std::string> Forms(std::string_view name)
{
    std::vector<std::string> forms = {Normal(name)};
    for (const std::string_view prefix : Prefixes)
        if (name.starts_with(prefix))
            forms.push_back(Normal(name.substr(prefix.size())));
    return forms;
}

std::optional<std::uint32_t> AsNumber(const std::string& text)
try
{
    return ParseNumber(text);
}
catch (const std::invalid_argument&)
{
    return std::nullopt;
}

std::optional<ExplainedKind> AsKind(const std::string& word)
{
    for (const auto kind : {ExplainedKind::Status, ExplainedKind::Flag, ExplainedKind::Event, ExplainedKind::Problem})
        if (Normal(word) == KindName(kind))
            return kind;
    return std::nullopt;
}

} // namespace

std::string_view KindName(ExplainedKind kind)
{
    constexpr std::string_view names[] = {"status", "flag", "event", "problem"};
    return names[static_cast<std::size_t>(kind)];
}

std::vector<std::string> ExplainedNames(ExplainedKind kind)
{
    std::vector<std::string> names;
    for (const Explanation& row : Explanations())
        if (row.Kind == kind)
            names.emplace_back(row.Name);
    return names;
}

std::vector<Explanation> FindExplanations(const std::vector<std::string>& words)
{
    // "problem" alone is the name of a flag.
    const auto kind = words.size() > 1 ? AsKind(words.front()) : std::nullopt;
    const std::string& text = words.back();
    if (words.size() > (kind ? 2 : 1))
        throw UsageError(R"(expected a number or a name, or "status", "flag", "event" or "problem" before it)");
    const auto number = AsNumber(text);
    const std::string name = Normal(text);
    std::vector<Explanation> found;
    std::vector<std::string> names;
    for (const Explanation& row : Explanations())
    {
        if (kind && row.Kind != *kind)
            continue;
        std::vector<std::string> forms = Forms(row.Name);
        if (number ? row.Number == *number : std::ranges::find(forms, name) != forms.end())
            found.push_back(row);
        std::ranges::move(forms, std::back_inserter(names));
    }
    if (found.empty())
        throw UsageError(WithSuggestion(fmt::format("\"{}\" cannot be explained", text), Suggestion(name, names),
                                        "run 'zvctl explain' for a list"));
    return found;
}

std::string_view ProblemName(std::uint32_t problem)
{
    for (const Explanation& row : Explanations())
        if (row.Kind == ExplainedKind::Problem && row.Number == problem)
            return row.Name;
    return "";
}
