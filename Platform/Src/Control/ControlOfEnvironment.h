/// @file
/// The control server of a process under the environment variable ZV_CONTROL.
#pragma once

namespace Platform
{

/// Starts the server if the variable names a path; only the first call does anything. An error ends the process with
/// a message and code 2: otherwise whoever started it would wait for a server that never answers.
void StartControlOfEnvironment();

/// Called after the current machine has changed.
void FollowCurrentMachine();

} // namespace Platform
