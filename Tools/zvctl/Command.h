/// @file
/// What a command is to the tool. Each lives in a file of its own and joins the table in Main.cpp.
#pragma once

#include <CLI/App.hpp>

#include <functional>

/// A command on the command line and what runs it. `Run` keeps the command's options, whose values
/// are the defaults until the command line is parsed; it throws to report a failure.
struct Command
{
    CLI::App* Syntax;
    std::function<void()> Run;
};

/// Lists adapters as a table or as JSON.
Command AddListCommand(CLI::App& app);
