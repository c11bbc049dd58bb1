/// @file
/// Waiting until the process has finished its work, for tests of hosts.
#pragma once

#include "PlatformExport.h"

#include <chrono>

namespace Platform
{

/// Blocks until the process is quiet, for at most `timeout`.
///
/// The process is quiet at a moment when all of this is true:
/// - Every thread but the caller's is asleep and has not run for 5 ms.
/// - No message waits in the queue of a thread.
/// - No control request is in flight. A driver that holds a request, even a cancelled one, prevents it.
/// - No hook of Machine::OnCall runs.
/// - No published function has been called for `pause`.
///
/// So the library has then handled all messages and requests that were sent before, and its events have reached the
/// clients. A thread that sleeps and continues its work afterwards is not detected: a callback of the host that sleeps
/// looks finished. The library itself has one such thread: after a removal it reads the registry every 50 ms for up to
/// 2.5 seconds per adapter, to find out whether the driver is uninstalled. Pass 100 ms as `pause` to wait for that too.
/// A host thread that polls without sleeping for 5 ms makes every call time out.
///
/// @return false if the process was not quiet in time. At least one check is made.
/// @throws std::system_error if the threads cannot be listed, which needs "/proc".
/// @note One thread at a time, because callers would see each other run. Takes 5 ms if the process is quiet already.
PLATFORM_API bool WaitUntilQuiet(std::chrono::milliseconds timeout,
                                 std::chrono::milliseconds pause = std::chrono::milliseconds::zero());

} // namespace Platform
