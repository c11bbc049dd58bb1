#include "RecordText.h"

#include <algorithm>

namespace
{

bool IsContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// Returns true if the text starts with one encoded half of a surrogate pair, three bytes. `mark` is 0xA0
/// for the first half and 0xB0 for the second.
bool IsSurrogateHalf(std::string_view bytes, unsigned char mark)
{
    return bytes.size() >= 3 && bytes[0] == '\xED' && (static_cast<unsigned char>(bytes[1]) & 0xF0) == mark;
}

} // namespace

std::string_view CutAtCodePoint(std::string_view text, std::size_t capacity)
{
    if (text.size() <= capacity)
        return text;
    std::size_t cut = capacity;
    while (cut > 0 && capacity - cut < 3 && IsContinuation(text[cut]))
        --cut;
    // More continuation bytes than a sequence has: this is not UTF-8, so it may be cut anywhere.
    if (IsContinuation(text[cut]))
        cut = capacity;
    if (cut >= 3 && IsSurrogateHalf(text.substr(cut), 0xB0) && IsSurrogateHalf(text.substr(cut - 3), 0xA0))
        cut -= 3;
    return text.substr(0, cut);
}

void FillField(std::span<char> field, std::string_view text)
{
    const std::string_view kept = CutAtCodePoint(text.substr(0, text.find('\0')), field.size() - 1);
    const auto end = std::ranges::copy(kept, field.begin()).out;
    std::fill(end, field.end(), '\0');
}

std::string ToUtf8(std::u16string_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    const auto append = [&bytes](unsigned value) { bytes.push_back(static_cast<char>(value)); };
    for (const unsigned unit : text)
    {
        if (unit < 0x80)
        {
            append(unit);
            continue;
        }
        if (unit < 0x800)
            append(0xC0 | (unit >> 6));
        else
        {
            append(0xE0 | (unit >> 12));
            append(0x80 | ((unit >> 6) & 0x3F));
        }
        append(0x80 | (unit & 0x3F));
    }
    return bytes;
}
