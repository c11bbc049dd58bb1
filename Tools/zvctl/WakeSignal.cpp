#include "WakeSignal.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
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

/// Rounded up, so that no poll returns early; -1 for no limit.
int MillisecondsUntil(WakeSignal::Clock::time_point deadline)
{
    if (deadline == WakeSignal::Clock::time_point::max())
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - WakeSignal::Clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 60'000));
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
    poll(&waited, 1, MillisecondsUntil(deadline));
}
