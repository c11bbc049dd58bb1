/// @file
/// The interface of a command. CommandTable.cpp lists all commands that work everywhere.
#pragma once

#include "Syntax.h"

#include <functional>
#include <vector>

/// A command and the function that runs it. `Run` keeps the command's values, which parsing sets; it throws to
/// report a failure.
struct Command
{
    Syntax Words;
    std::function<void()> Run;
};

/// Adds the commands of the program; the default one comes first.
std::vector<Command> AddProgramCommands(Syntax app);

/// Adds the commands of a session's lines.
/// @param ended set by the command that ends the session; it must exist as long as the commands.
std::vector<Command> AddSessionCommands(Syntax app, bool& ended);

/// Adds list, info, ability, enable and disable.
std::vector<Command> AddAdapterCommands(Syntax app);

/// Adds get, set, ioctl and bench.
std::vector<Command> AddRequestCommands(Syntax app);

/// Adds bench, which measures requests.
Command AddBenchCommand(Syntax app);

/// Adds reg read, reg write and reg delete.
std::vector<Command> AddRegCommands(Syntax app);

/// Adds watch, which prints events as they arrive.
Command AddWatchCommand(Syntax app);

/// Adds wait and events, which consume the events of a session.
std::vector<Command> AddWaitCommands(Syntax app);

/// Adds script, which runs the lines of a file.
Command AddScriptCommand(Syntax app);

/// Adds shell, which runs lines as they are typed.
Command AddShellCommand(Syntax app);

/// Adds help, which prints what --help prints for the commands of `app`.
Command AddHelpCommand(Syntax app);

/// Adds doctor, which checks the machine and its adapters.
Command AddDoctorCommand(Syntax app);

/// Adds explain, which describes statuses, flags, events and problem numbers.
Command AddExplainCommand(Syntax app);

/// Adds journal show.
std::vector<Command> AddJournalCommands(Syntax app);

/// Adds assert, echo, expect-fail and sleep, which scripts need.
std::vector<Command> AddScriptLines(Syntax app);
