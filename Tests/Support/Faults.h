/// @file
/// Failures of the process's own means: threads and memory.
#pragma once

/// Makes the `nth` thread start of this process from now on fail with EAGAIN; 0 for none.
/// @return what was left of the count before, so above 0 when no start has failed.
int FailThreadStart(int nth);

/// Makes the `nth` thread start of this process from now on take this long; 0 for none.
void DelayThreadStart(int nth, int milliseconds);

/// Makes the exit of this process take this long after all destructors have run.
void LingerAtExit(int milliseconds);

/// Makes the `nth` allocation of the calling thread from now on fail with std::bad_alloc; 0 for none.
/// @return what was left of the count before, so above 0 when no allocation has failed.
int FailAllocation(int nth);
