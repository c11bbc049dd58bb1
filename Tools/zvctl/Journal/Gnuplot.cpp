#include "Gnuplot.h"

#include "Errors.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fmt/core.h>
#include <memory>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace
{

struct CloseFile
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};

} // namespace

/// The commands are in a file that has no name, so a gnuplot that ends early does not end the tool by a broken pipe.
void RunGnuplot(const std::string& commands)
{
    const std::unique_ptr<std::FILE, CloseFile> input(std::tmpfile());
    if (!input || std::fputs(commands.c_str(), input.get()) < 0 || std::fflush(input.get()) != 0)
        throw std::system_error(errno, std::generic_category(), "a file for gnuplot");
    std::rewind(input.get());
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fileno(input.get()), STDIN_FILENO);
    std::string name = "gnuplot";
    const std::array<char*, 2> arguments = {name.data(), nullptr};
    pid_t child = 0;
    const int error = posix_spawnp(&child, name.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error == ENOENT)
        throw Failure("gnuplot is not installed; install gnuplot-nox, or put gnuplot on the search path");
    if (error != 0)
        throw Failure(fmt::format("gnuplot cannot be started: {}", std::strerror(error)));
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
        ;
    if (status != 0)
        throw Failure("gnuplot failed");
}
