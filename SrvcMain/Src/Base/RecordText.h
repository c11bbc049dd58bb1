/// @file
/// Writes text into the fixed-width fields of an adapter record.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

/// Returns the longest start of a text that fits into `capacity` bytes without splitting a code point. A
/// surrogate pair encoded as two halves counts as one code point.
std::string_view CutAtCodePoint(std::string_view text, std::size_t capacity);

/// Fills a field with a text, truncated to leave space for the NUL, and zeroes the rest.
void FillField(std::span<char> field, std::string_view text);

/// Converts a 16-bit text to UTF-8 unit by unit, so that an unpaired surrogate is kept.
std::string ToUtf8(std::u16string_view text);
