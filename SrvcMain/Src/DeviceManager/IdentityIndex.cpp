#include "IdentityIndex.h"

#include <algorithm>

void CIdentityIndex::Add(std::string_view identity)
{
    Numbers[identity].push_back(Count);
    Lengths.insert(identity.size());
    ++Count;
}

std::vector<std::size_t> CIdentityIndex::FindIn(std::string_view text) const
{
    std::vector<std::size_t> found;
    for (const std::size_t length : Lengths)
        for (std::size_t begin = 0; begin + length <= text.size(); ++begin)
            if (const auto match = Numbers.find(text.substr(begin, length)); match != Numbers.end())
                found.insert(found.end(), match->second.begin(), match->second.end());
    std::ranges::sort(found);
    // An identity may occur in the text more than once.
    const auto repeated = std::ranges::unique(found);
    found.erase(repeated.begin(), repeated.end());
    return found;
}
