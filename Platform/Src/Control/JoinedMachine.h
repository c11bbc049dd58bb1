/// @file
/// The machine of a process that has joined a shared machine.
#pragma once

#include "Machine.h"

#include <memory>
#include <string>

namespace Platform
{

/// Connects to the server that listens on a Unix domain socket and copies its machine. From then on the copy follows
/// the server's log, and changes that this process makes go through the server. If the server disappears, the copy
/// keeps its last state, a message is printed on stderr, and the process joins again when a server listens. Changes
/// fail meanwhile, because the next join would silently undo them.
///
/// The connection and its threads exist until the process ends.
/// @throws MachineFileError if no server answers within 5 seconds, or its machine cannot be read.
std::shared_ptr<Machine> JoinMachine(const std::string& path);

} // namespace Platform
