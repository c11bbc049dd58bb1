#include "Suggestion.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace
{

/// Counts the insertions, deletions, replacements and swaps of adjacent letters that turn one text into the other.
std::size_t Distance(std::string_view one, std::string_view other)
{
    // Row i has the distances of the first i letters of `one`; three rows suffice, the oldest for swaps.
    std::vector<std::size_t> older;
    std::vector<std::size_t> above(other.size() + 1);
    for (std::size_t column = 0; column <= other.size(); ++column)
        above[column] = column;
    for (std::size_t row = 1; row <= one.size(); ++row)
    {
        std::vector<std::size_t> current(other.size() + 1, row);
        for (std::size_t column = 1; column <= other.size(); ++column)
        {
            const bool same = one[row - 1] == other[column - 1];
            current[column] =
                std::min({above[column] + 1, current[column - 1] + 1, above[column - 1] + (same ? 0 : 1)});
            if (row > 1 && column > 1 && one[row - 1] == other[column - 2] && one[row - 2] == other[column - 1])
                current[column] = std::min(current[column], older[column - 2] + 1);
        }
        older = std::exchange(above, std::move(current));
    }
    return above.back();
}

} // namespace

std::string Suggestion(std::string_view word, const std::vector<std::string>& candidates)
{
    if (word.size() < 2)
        return "";
    const auto begins = std::ranges::find_if(candidates, [&](const auto& text) { return text.starts_with(word); });
    if (begins != candidates.end())
        return *begins;
    const auto nearest =
        std::ranges::min_element(candidates, {}, [&](const auto& text) { return Distance(word, text); });
    // One error for each three letters; more would suggest words that have nothing in common.
    const bool isNear =
        nearest != candidates.end() && Distance(word, *nearest) <= (std::max(word.size(), nearest->size()) + 1) / 3;
    return isNear ? *nearest : "";
}

std::string WithSuggestion(const std::string& cause, const std::string& suggestion, const std::string& remedy)
{
    return suggestion.empty() ? cause + "; " + remedy : cause + "; did you mean \"" + suggestion + "\"? " + remedy;
}
