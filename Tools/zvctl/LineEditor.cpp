#include "LineEditor.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <editline/readline.h>
#include <memory>
#include <utility>

namespace
{

// The editor calls back without a context.
Completer CurrentCompleter;
std::vector<std::string> Matches;

struct Free
{
    void operator()(char* text) const { std::free(text); }
};

char* NextMatch(const char* /*word*/, int state)
{
    const auto index = static_cast<std::size_t>(state);
    return index < Matches.size() ? strdup(Matches[index].c_str()) : nullptr;
}

char** CompleteWord(const char* word, int start, int /*end*/)
{
    rl_attempted_completion_over = 1; // without this the editor goes on to file names
    Matches = CurrentCompleter({rl_line_buffer, static_cast<std::size_t>(start)}, word);
    return Matches.empty() ? nullptr : rl_completion_matches(word, NextMatch);
}

} // namespace

LineEditor::LineEditor(Completer completer)
{
    CurrentCompleter = std::move(completer);
    rl_readline_name = "zvctl";
    rl_initialize();
    using_history();
    rl_attempted_completion_function = CompleteWord;
    rl_basic_word_break_characters = " \t"; // identities begin with a brace
}

LineEditor::~LineEditor()
{
    rl_attempted_completion_function = nullptr;
    CurrentCompleter = nullptr;
}

std::optional<std::string> LineEditor::Read(const std::string& prompt)
{
    const std::unique_ptr<char, Free> line(readline(prompt.c_str()));
    if (line == nullptr)
        return std::nullopt;
    if (*line != '\0')
        add_history(line.get());
    return line.get();
}
