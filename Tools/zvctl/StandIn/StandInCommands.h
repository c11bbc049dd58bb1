/// @file
/// Commands that change the stand-in's machine.
#pragma once

#include "Command.h"

/// Adds tour, which uses one adapter in every possible way and prints a line for each step.
Command AddTourCommand(Syntax app);

/// Adds serve, which owns a machine that several processes share.
Command AddServeCommand(Syntax app);

/// Adds call, which calls a method of the control protocol.
Command AddCallCommand(Syntax app);

/// Adds changes, which prints the changes of the machine.
Command AddChangesCommand(Syntax app);

/// See Host::RunProtocol.
void RunControlLines(const std::string& file, bool stopAtFailure);

/// Adds replay, which repeats a journal for a host.
Command AddReplayCommand(Syntax app);

/// Adds one command for each change of the machine; for lines of a session.
std::vector<Command> AddMachineCommands(Syntax app);
