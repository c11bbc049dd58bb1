#include "WakeSignal.h"

#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace
{

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
    eventfd_write(Self->Fd, 1);
}

void WakeSignal::Clear()
{
    eventfd_t count = 0;
    eventfd_read(Self->Fd, &count);
}

void WakeSignal::WaitUntil(Clock::time_point deadline)
{
    pollfd waited = {Self->Fd, POLLIN, 0};
    poll(&waited, 1, static_cast<int>(Step(deadline).count()));
}
