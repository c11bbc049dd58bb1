#include "EndSignals.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <sys/eventfd.h>

namespace
{

// All that the handler touches; it may run on any thread.
std::atomic<int> Wake = -1;
std::atomic<bool> Came = false;
std::atomic<bool> CameTerm = false;
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

extern "C" void NoteSignal(int number)
{
    const int error = errno;
    Came = true;
    if (number == SIGTERM)
        CameTerm = true;
    eventfd_write(Wake, 1);
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

void EndSignals::Take(int wakeFd)
{
    Wake = wakeFd;
    Handle(NoteSignal);
}

void EndSignals::Release()
{
    if (Wake.exchange(-1) != -1)
        Handle(SIG_DFL);
    Came = false;
}

bool EndSignals::Asked()
{
    return Came;
}

bool EndSignals::Terminated()
{
    return CameTerm;
}
