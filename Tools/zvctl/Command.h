/// @file
/// What a command is to the tool. Each lives in a file of its own and joins the table in Main.cpp.
#pragma once

#include <CLI/App.hpp>

#include <functional>
#include <vector>

/// A command on the command line and what runs it. `Run` keeps the command's options, whose values
/// are the defaults until the command line is parsed; it throws to report a failure.
struct Command
{
    CLI::App* Syntax;
    std::function<void()> Run;
};

/// Uses an adapter in every way there is, a line for each step.
Command AddTourCommand(CLI::App& app);

/// Lists adapters as a table or as JSON.
Command AddListCommand(CLI::App& app);

/// Opens an adapter and shows its record.
Command AddInfoCommand(CLI::App& app);

/// Shows the number that tells what an adapter's driver supports.
Command AddAbilityCommand(CLI::App& app);

/// Queries an information item of the driver.
Command AddGetCommand(CLI::App& app);

/// Sets an information item of the driver.
Command AddSetCommand(CLI::App& app);

/// Sends a control request to the driver, also an asynchronous one.
Command AddIoctlCommand(CLI::App& app);

/// Reads, writes or deletes a value of the driver key: a command each, behind "reg".
std::vector<Command> AddRegCommands(CLI::App& app);
