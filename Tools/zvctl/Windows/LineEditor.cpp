// The Windows console provides editing and history for every program.
#include "LineEditor.h"

#include <cstdio>
#include <fmt/core.h>
#include <iostream>

LineEditor::LineEditor(Completer /*completer*/) {}

LineEditor::~LineEditor() = default;

std::optional<std::string> LineEditor::Read(const std::string& prompt)
{
    fmt::print("{}", prompt);
    // The prompt has no line end, so it would stay in the buffer.
    std::fflush(stdout);
    std::string line;
    return std::getline(std::cin, line) ? std::optional(std::move(line)) : std::nullopt;
}
