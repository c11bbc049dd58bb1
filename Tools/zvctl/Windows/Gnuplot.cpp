#include "Gnuplot.h"

#include "Errors.h"

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <windows.h>

void RunGnuplot(const std::string& commands)
{
    // The shell of the pipe would only print that it has found no program.
    if (SearchPathW(nullptr, L"gnuplot.exe", nullptr, 0, nullptr, nullptr) == 0)
        throw Failure("gnuplot is not installed; install it and put gnuplot.exe on the search path");
    std::FILE* const input = _wpopen(L"gnuplot.exe", L"wb");
    if (input == nullptr)
        throw std::system_error(errno, std::generic_category(), "gnuplot");
    const bool isWritten = std::fputs(commands.c_str(), input) >= 0;
    if (_pclose(input) != 0 || !isWritten)
        throw Failure("gnuplot failed");
}
