/// @file
/// Text helpers: comparing names without regard to case, and the two encodings.
#pragma once

#include <string>
#include <string_view>

namespace Platform
{

/// Compares names without regard to the case of ASCII letters, as the registry and device names are compared.
bool EqualNames(std::string_view left, std::string_view right);

/// Orders names without regard to the case of ASCII letters.
struct NameLess
{
    using is_transparent = void;
    bool operator()(std::string_view left, std::string_view right) const;
};

/// Encodes half of a surrogate pair as a separate character, so that every text can be converted.
std::string ToUtf8(std::u16string_view text);
/// The text must be well-formed; an invalid sequence ends the result.
std::u16string ToUtf16(std::string_view text);

} // namespace Platform
