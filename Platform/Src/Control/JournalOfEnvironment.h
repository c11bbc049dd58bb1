/// @file
/// The journal of a process.
#pragma once

#include "Machine.h"

#include <memory>

namespace Platform
{

/// Starts the journal that ZV_JOURNAL names, with the first machine that the process uses. A file that cannot be
/// written ends the process with a message and code 2: a recording that is missing would be noticed too late.
void StartJournalOfEnvironment(const std::shared_ptr<Machine>& machine);

} // namespace Platform
