#include "LineEditor.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <editline/readline.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <poll.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace
{

/// Lines that the history keeps.
constexpr int MaxHistory = 1000;

// The editor passes no context to its callbacks.
Completer CurrentCompleter;
std::vector<std::string> Matches;

struct Free
{
    /// readline allocates its results with malloc.
    void operator()(char* text) const { std::free(text); }
};

/// The editor calls this with 0, 1, 2 and so on until it returns null, and frees each text.
char* NextMatch(const char* /*word*/, int state)
{
    const auto index = static_cast<std::size_t>(state);
    return index < Matches.size() ? strdup(Matches[index].c_str()) : nullptr;
}

// Any thread may handle Ctrl-C, so the handler wakes the reading thread through a pipe.
int InterruptPipe[2] = {-1, -1};
bool Interrupted = false;

extern "C" void NoteInterrupt(int /*number*/)
{
    const int error = errno;
    [[maybe_unused]] const auto written = write(InterruptPipe[1], "", 1); // a full pipe wakes too
    errno = error;
}

/// Installs the handler for a scope.
class InterruptHandler
{
public:
    InterruptHandler()
    {
        struct sigaction action = {};
        action.sa_handler = NoteInterrupt;
        sigaction(SIGINT, &action, &Previous);
    }
    ~InterruptHandler() { sigaction(SIGINT, &Previous, nullptr); }
    InterruptHandler(const InterruptHandler&) = delete;
    InterruptHandler& operator=(const InterruptHandler&) = delete;

private:
    struct sigaction Previous = {};
};

/// Returns a byte of the terminal, or a line end after Ctrl-C, so that the editor returns the line.
int ReadByte()
{
    // Polls both, because a blocking read of the terminal would not notice the pipe.
    pollfd sources[] = {{STDIN_FILENO, POLLIN, 0}, {InterruptPipe[0], POLLIN, 0}};
    while (poll(sources, 2, -1) < 0)
        if (errno != EINTR)
            return EOF;
    unsigned char byte = 0;
    if (sources[1].revents != 0)
    {
        Interrupted = read(InterruptPipe[0], &byte, 1) == 1;
        return '\n';
    }
    return read(STDIN_FILENO, &byte, 1) == 1 ? byte : EOF;
}

/// Returns a complete character, as the editor expects from this callback.
int ReadCharacter(FILE* /*stream*/)
{
    // Bytes of one UTF-8 character are collected here; -2 means that more are needed, -1 that they are invalid.
    std::mbstate_t state = {};
    for (;;)
    {
        const int next = ReadByte();
        if (next == EOF || Interrupted)
            return next;
        const char byte = static_cast<char>(next);
        wchar_t wide = 0;
        const std::size_t used = std::mbrtowc(&wide, &byte, 1, &state);
        if (used != static_cast<std::size_t>(-2))
            return used == static_cast<std::size_t>(-1) ? next : static_cast<int>(wide);
    }
}

char** CompleteWord(const char* word, int start, int /*end*/)
{
    rl_attempted_completion_over = 1; // otherwise the editor completes file names
    Matches = CurrentCompleter({rl_line_buffer, static_cast<std::size_t>(start)}, word);
    return Matches.empty() ? nullptr : rl_completion_matches(word, NextMatch);
}

/// Returns the file of the history, or an empty path if the user has no home.
std::filesystem::path HistoryFile()
{
    const char* const state = std::getenv("XDG_STATE_HOME");
    const char* const home = std::getenv("HOME");
    // A relative path is ignored, as the convention for the variable demands.
    if (state != nullptr && *state == '/')
        return std::filesystem::path(state) / "zvctl" / "history";
    if (home != nullptr && *home != '\0')
        return std::filesystem::path(home) / ".local" / "state" / "zvctl" / "history";
    return {};
}

void LoadHistory(const std::filesystem::path& file)
{
    stifle_history(MaxHistory);
    if (!file.empty())
        read_history(file.c_str()); // there is none before the first session
}

/// Lines may contain private data, so only the user may read them. A history that cannot be written is no failure of
/// the session.
void SaveHistory(const std::filesystem::path& file)
{
    if (file.empty())
        return;
    std::error_code ignored;
    std::filesystem::create_directories(file.parent_path().parent_path(), ignored);
    mkdir(file.parent_path().c_str(), S_IRWXU);
    const mode_t mask = umask(S_IRWXG | S_IRWXO);
    write_history(file.c_str());
    umask(mask);
}

} // namespace

LineEditor::LineEditor(Completer completer)
{
    CurrentCompleter = std::move(completer);
    if (pipe2(InterruptPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe2");
    rl_readline_name = "zvctl";
    rl_getc_function = ReadCharacter; // before rl_initialize, which reads it once
    rl_initialize();
    using_history();
    LoadHistory(HistoryFile());
    rl_attempted_completion_function = CompleteWord;
    rl_basic_word_break_characters = " \t"; // not the brace that identities begin with
}

LineEditor::~LineEditor()
{
    SaveHistory(HistoryFile());
    // The editor's settings are global and refer to this object.
    rl_attempted_completion_function = nullptr;
    for (const int end : InterruptPipe)
        close(end);
    CurrentCompleter = nullptr;
}

std::optional<std::string> LineEditor::Read(const std::string& prompt)
{
    const InterruptHandler handler;
    const std::unique_ptr<char, Free> line(readline(prompt.c_str()));
    // An empty line continues the session, as Ctrl-C does in other shells.
    if (std::exchange(Interrupted, false))
        return "";
    if (line == nullptr)
        return std::nullopt;
    if (*line != '\0')
        add_history(line.get());
    return line.get();
}
