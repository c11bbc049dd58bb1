/// @file
/// Reads lines from a terminal.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Returns what `word`, the last one of a line, can become after the text `before`.
using Completer = std::function<std::vector<std::string>(std::string_view before, std::string_view word)>;

/// Reads lines from the terminal at stdin, with editing, history and completion. Only one editor may exist.
class LineEditor
{
public:
    explicit LineEditor(Completer completer);
    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    /// Reads a line. @return the line, empty after Ctrl-C; nothing at the end of the input.
    std::optional<std::string> Read(const std::string& prompt);
};
