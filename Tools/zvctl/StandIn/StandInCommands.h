/// @file
/// The commands that drive the stand-in's machine.
#pragma once

#include "Command.h"

/// Uses an adapter in every way there is, a line for each step.
Command AddTourCommand(CLI::App& app);

/// What happens to a machine, a command each; for lines of a session.
std::vector<Command> AddMachineCommands(CLI::App& app);
