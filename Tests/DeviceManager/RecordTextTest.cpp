#include "RecordText.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

TEST(RecordText, EveryUnitIsEncodedSeparately)
{
    EXPECT_EQ(ToUtf8(u""), "");
    EXPECT_EQ(ToUtf8(u"\u007F\u0080\u07FF\u0800\uFFFF"), "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
    EXPECT_EQ(ToUtf8(u"\U0001F600"), "\xED\xA0\xBD\xED\xB8\x80") << "the halves of a pair are not joined";
}

TEST(RecordText, AFieldIsTruncatedBetweenCodePointsAndZeroFilled)
{
    const std::string pair = ToUtf8(u"\U0001F600");
    const struct
    {
        std::string Text;
        std::string Kept; // In a field of 9 bytes.
    } cases[] = {
        {"12345678", "12345678"},
        {"123456789", "12345678"},
        {"1234567\xC3\xBC", "1234567"},
        {"123456\xE2\x82\xAC", "123456"},
        {"12345\xE2\x82\xAC", "12345\xE2\x82\xAC"},
        {"12" + pair, "12" + pair},
        {"123" + pair, "123"},
        {"12345" + pair, "12345"},
        {std::string(20, '\x80'), std::string(8, '\x80')},
        {std::string("ab\0cd", 5), "ab"},
        {"", ""},
    };
    for (const auto& [text, kept] : cases)
    {
        char field[9];
        std::memset(field, 'x', sizeof field);
        FillField(field, text);
        std::string expected = kept;
        expected.resize(sizeof field);
        EXPECT_EQ(std::string(field, sizeof field), expected) << "of " << text;
    }
}

} // namespace
