/// @file
/// Finds which of many identities are part of a text.
#pragma once

#include <cstddef>
#include <set>
#include <string_view>
#include <unordered_map>
#include <vector>

/// Numbers identities in the order of their addition. A search needs one hash look-up for each position and
/// each length that an identity can have in the text. If the text and all identities are equally long,
/// which is the usual case, that is one look-up.
class CIdentityIndex
{
public:
    /// @param identity must stay valid as long as the index.
    void Add(std::string_view identity);

    /// Returns the numbers of the identities that occur in `text`, in ascending order. An empty identity
    /// occurs in every text.
    std::vector<std::size_t> FindIn(std::string_view text) const;

private:
    std::unordered_map<std::string_view, std::vector<std::size_t>> Numbers;
    std::set<std::size_t> Lengths;
    std::size_t Count = 0;
};
