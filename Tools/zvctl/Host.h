/// @file
/// What the tool needs from the machine that it works on. CMake chooses one implementation: for the
/// stand-in's machine, which commands can drive, or for the real system, which they only watch.
#pragma once

#include "AdapterChoice.h"
#include "Command.h"

#include <functional>
#include <vector>

namespace Host
{

/// The first line of the tool's help.
extern const char Description[];
/// The end of the help.
extern const char Footer[];

/// Has stdout and stderr carry the bytes that are written to them and nothing else. Called first.
void PrepareStreams();

/// Adds the options that choose and show a machine.
/// @return sets the machine up as the parsed options want; called once, before the library's first
///         use. It throws UsageError for an error in the machine's description.
std::function<void()> AddOptions(CLI::App& app);

/// Adds the commands that this machine has beyond those of every machine; the first is the default.
std::vector<Command> AddCommands(CLI::App& app);

/// Adds what a session alone can do with this machine.
std::vector<Command> AddSessionCommands(CLI::App& app);

/// The machine's adapters, whether or not the library lists them.
std::vector<AdapterName> KnownAdapters();

} // namespace Host
