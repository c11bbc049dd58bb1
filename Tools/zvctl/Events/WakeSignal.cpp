#include "WakeSignal.h"

#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace
{

/// Non-blocking: Clear may find the flag unset, and Set must not wait inside a signal handler.
int MakeEventFd()
{
    const int made = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (made < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
    return made;
}

} // namespace

struct WakeSignal::Flag
{
    const int Fd = MakeEventFd();
};

WakeSignal::WakeSignal() : Self(std::make_unique<Flag>()) {}

WakeSignal::~WakeSignal()
{
    close(Self->Fd);
}

void WakeSignal::Set()
{
    // An eventfd is async-signal-safe to write, unlike a condition variable.
    eventfd_write(Self->Fd, 1);
}

void WakeSignal::Clear()
{
    eventfd_t count = 0;
    eventfd_read(Self->Fd, &count);
}

void WakeSignal::WaitUntil(Clock::time_point deadline)
{
    // A signal ends poll early, which WaitUntil permits.
    pollfd waited = {Self->Fd, POLLIN, 0};
    poll(&waited, 1, static_cast<int>(Step(deadline).count()));
}
