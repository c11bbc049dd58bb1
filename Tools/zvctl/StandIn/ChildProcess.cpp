#include "ChildProcess.h"

#include <csignal>
#include <cstdlib>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace
{

int CodeOf(int status)
{
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& words, const std::string& variable, const std::string& value)
{
    std::vector<std::string> texts = words;
    std::vector<char*> arguments;
    for (std::string& text : texts)
        arguments.push_back(text.data());
    arguments.push_back(nullptr);
    std::string assignment = variable + '=' + value;
    std::vector<char*> environment;
    for (char** entry = environ; *entry != nullptr; ++entry)
        if (!std::string_view(*entry).starts_with(variable + '='))
            environment.push_back(*entry);
    environment.push_back(assignment.data());
    environment.push_back(nullptr);
    const int error = posix_spawnp(&Process, arguments.front(), nullptr, nullptr, arguments.data(), environment.data());
    if (error != 0)
        throw std::system_error(error, std::generic_category(), words.front());
}

ChildProcess::~ChildProcess()
{
    Finish();
}

bool ChildProcess::HasEnded()
{
    int status = 0;
    if (!Code && waitpid(Process, &status, WNOHANG) == Process)
        Code = CodeOf(status);
    return Code.has_value();
}

int ChildProcess::Finish()
{
    if (!HasEnded())
    {
        kill(Process, SIGTERM);
        int status = 0;
        waitpid(Process, &status, 0);
        Code = CodeOf(status);
    }
    return *Code;
}
