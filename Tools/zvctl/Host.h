/// @file
/// The machine that the tool works on. CMake selects one implementation: for the machine of the stand-in, which
/// commands can change, or for Windows.
#pragma once

#include "AdapterChoice.h"
#include "AdapterFacts.h"
#include "Command.h"

#include <functional>
#include <vector>

namespace Host
{

/// The first line of the help.
extern const char Description[];
/// The end of the help.
extern const char Footer[];

/// Makes stdout and stderr print bytes unchanged. Called first.
void PrepareStreams();

/// Adds the options that select and trace a machine.
/// @return a function that sets up the selected machine; called once, before the first use of the library. It
///         throws UsageError for an error in the machine's description.
std::function<void()> AddOptions(Syntax app);

/// Adds the commands that only this kind of machine has; the first is the default.
std::vector<Command> AddCommands(Syntax app);

/// Adds the commands that only the command line with this kind of machine has.
std::vector<Command> AddProgramCommands(Syntax app);

/// Runs the lines of a file, or of stdin for "-", as calls of the control protocol, and prints the answers.
/// @throws Failure if a line fails, except for one that was typed.
void RunProtocol(const std::string& file, bool stopAtFailure);

/// Adds the commands that only a session with this kind of machine has.
std::vector<Command> AddSessionCommands(Syntax app);

/// Returns the machine's adapters, whether or not the library lists them.
std::vector<AdapterName> KnownAdapters();

/// Returns what the operating system knows of its network adapters, in its order.
std::vector<AdapterFacts> Facts();

/// What surrounds the adapters.
struct Surroundings
{
    std::string Source = {}; ///< Where the adapters come from.
    bool IsAdministrator = false;
    bool HasEventWindow = false; ///< Of the library, in this process.
};

/// Called after the library was started.
Surroundings Inspect();

} // namespace Host
