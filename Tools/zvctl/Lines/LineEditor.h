/// @file
/// Lines from a terminal.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What the last word of a line can become, from what stands before it and its beginning.
using Completer = std::function<std::vector<std::string>(std::string_view before, std::string_view word)>;

/// Reads lines from the terminal at stdin, with editing, history and completion. One at a time.
class LineEditor
{
public:
    explicit LineEditor(Completer completer);
    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    /// Ctrl-C drops the line. @return that line, empty when it was dropped; nothing at the end of the input.
    std::optional<std::string> Read(const std::string& prompt);
};
