/// @file
/// The interface of a command. Each is defined in a separate file and listed in CommandTable.cpp.
#pragma once

#include <CLI/App.hpp>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// A command on the command line and what runs it. `Run` keeps the command's options, whose values
/// are the defaults until the command line is parsed; it throws to report a failure.
struct Command
{
    CLI::App* Syntax;
    std::function<void()> Run;
};

/// A command as it is typed: "list", "reg read".
std::string CommandName(const CLI::App& command);

/// The command of that name directly below another, or null.
const CLI::App* FindCommand(const CLI::App& app, std::string_view name);

/// Adds the commands that work alone and as lines of a session; the default one comes first.
std::vector<Command> AddToolCommands(CLI::App& app);

/// Lists adapters as a table or as JSON.
Command AddListCommand(CLI::App& app);

/// Opens an adapter and shows its record.
Command AddInfoCommand(CLI::App& app);

/// Prints the ability number of an adapter's driver.
Command AddAbilityCommand(CLI::App& app);

/// Queries an information item of the driver.
Command AddGetCommand(CLI::App& app);

/// Sets an information item of the driver.
Command AddSetCommand(CLI::App& app);

/// Sends a synchronous or asynchronous control request to the driver.
Command AddIoctlCommand(CLI::App& app);

/// Reads, writes or deletes a value of the driver key; three subcommands of "reg".
std::vector<Command> AddRegCommands(CLI::App& app);

/// Enables and disables an adapter: a command each.
std::vector<Command> AddNicCommands(CLI::App& app);

/// Prints events as they arrive.
Command AddWatchCommand(CLI::App& app);

/// Waits for an event, and prints events not yet consumed; for lines of a session.
std::vector<Command> AddWaitCommands(CLI::App& app);

/// Carries out lines from a file.
Command AddScriptCommand(CLI::App& app);

/// Carries out lines as they are typed.
Command AddShellCommand(CLI::App& app);
