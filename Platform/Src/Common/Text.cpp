#include "Text.h"

#include <algorithm>
#include <cstddef>
#include <cwchar>
#include <locale>

namespace Platform
{

namespace
{

// Not std::tolower, because the host's locale must not change which names are equal.
char Fold(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Whether a surrogate pair starts at this position.
bool IsPair(std::u16string_view text, std::size_t at)
{
    return text[at] >= 0xD800 && text[at] < 0xDC00 && at + 1 < text.size() && text[at + 1] >= 0xDC00 &&
           text[at + 1] < 0xE000;
}

// Encodes an unpaired surrogate like any other character, so the conversion cannot fail.
void AppendUtf8(std::string& out, char32_t c)
{
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    const auto tail = [&](unsigned shift) { put(0x80 | ((c >> shift) & 0x3F)); };
    if (c < 0x80)
    {
        put(c);
    }
    else if (c < 0x800)
    {
        put(0xC0 | (c >> 6));
        tail(0);
    }
    else if (c < 0x10000)
    {
        put(0xE0 | (c >> 12));
        tail(6);
        tail(0);
    }
    else
    {
        put(0xF0 | (c >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

} // namespace

bool EqualNames(std::string_view left, std::string_view right)
{
    return std::ranges::equal(left, right, {}, Fold, Fold);
}

bool NameLess::operator()(std::string_view left, std::string_view right) const
{
    return std::ranges::lexicographical_compare(left, right, {}, Fold, Fold);
}

std::string ToUtf8(std::u16string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        char32_t c = text[i];
        if (IsPair(text, i))
            c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<char32_t>(text[++i]) - 0xDC00);
        AppendUtf8(out, c);
    }
    return out;
}

std::u16string ToUtf16(std::string_view text)
{
    const std::u8string in(text.begin(), text.end());
    std::u16string out(in.size(), u'\0');
    using Converter = std::codecvt<char16_t, char8_t, std::mbstate_t>;
    std::mbstate_t state{};
    const char8_t* read = nullptr;
    char16_t* written = nullptr;
    // The classic locale always has this facet, and setlocale does not replace it.
    std::use_facet<Converter>(std::locale::classic())
        .in(state, in.data(), in.data() + in.size(), read, out.data(), out.data() + out.size(), written);
    out.resize(static_cast<std::size_t>(written - out.data()));
    return out;
}

} // namespace Platform
