#include "EndSignals.h"

#include <atomic>
#include <cerrno>
#include <csignal>

namespace
{

// The handler uses only these; it may run on any thread.
std::atomic<WakeSignal*> Wake = nullptr;
std::atomic<bool> Arrived = false;
std::atomic<bool> HasTerm = false;
static_assert(std::atomic<WakeSignal*>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

extern "C" void NoteSignal(int number)
{
    // The interrupted code may be about to read errno.
    const int error = errno;
    Arrived = true;
    if (number == SIGTERM)
        HasTerm = true;
    if (WakeSignal* const wake = Wake)
        wake->Set();
    errno = error;
}

void Handle(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    for (const int number : {SIGINT, SIGTERM})
        sigaction(number, &action, nullptr);
}

} // namespace

void EndSignals::Take(WakeSignal& wake)
{
    // Before the handler is installed, because a signal may arrive at once.
    Wake = &wake;
    Handle(NoteSignal);
}

void EndSignals::Release()
{
    if (Wake.exchange(nullptr) != nullptr)
        Handle(SIG_DFL);
    // Not HasTerm: a script or a session ends after the command that received it.
    Arrived = false;
}

bool EndSignals::Asked()
{
    return Arrived;
}

bool EndSignals::Terminated()
{
    return HasTerm;
}
