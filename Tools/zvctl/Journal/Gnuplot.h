/// @file
/// Runs gnuplot. CMake selects the implementation for the platform.
#pragma once

#include <string>

/// Runs the program that the search path finds with these commands. @throws Failure if it is missing or fails.
void RunGnuplot(const std::string& commands);
