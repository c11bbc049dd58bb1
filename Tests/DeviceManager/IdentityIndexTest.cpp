/// The index finds what a search through all identities finds.

#include "IdentityIndex.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <string>

namespace
{

TEST(IdentityIndex, FindsEveryIdentityContainedInATextInOrder)
{
    std::mt19937 random(7);
    const auto text = [&random](unsigned longest) {
        std::string letters(random() % (longest + 1), 'a');
        for (char& letter : letters)
            letter = random() % 2 == 0 ? 'a' : 'b';
        return letters;
    };
    std::deque<std::string> identities;
    CIdentityIndex index;
    for (int round = 0; round < 200; ++round)
    {
        index.Add(identities.emplace_back(text(6)));
        const std::string searched = text(12);
        std::vector<std::size_t> expected;
        for (std::size_t number = 0; number < identities.size(); ++number)
            if (searched.find(identities[number]) != std::string::npos)
                expected.push_back(number);
        EXPECT_EQ(index.FindIn(searched), expected) << searched;
    }
}

} // namespace
