/// @file
/// How text gets into the fixed-width fields of an adapter record.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

/// The start of a text that fits into `room` bytes, cut between two whole code points. A surrogate
/// pair that was encoded half by half counts as one.
std::string_view CutAtCodePoint(std::string_view text, std::size_t room);

/// Fills a field with a text: cut to leave room for the NUL, and zero from there to the end.
void FillField(std::span<char> field, std::string_view text);

/// UTF-8 of a 16-bit text, each unit encoded by itself.
std::string ToUtf8(std::u16string_view text);
