#include "WakeSignal.h"

#include <algorithm>
#include <cstdint>
#include <system_error>
#include <windows.h>

namespace
{

HANDLE MakeEvent()
{
    const HANDLE made = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (made == nullptr)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), "CreateEvent");
    return made;
}

/// Rounded up, so that no wait returns early.
DWORD MillisecondsUntil(WakeSignal::Clock::time_point deadline)
{
    if (deadline == WakeSignal::Clock::time_point::max())
        return INFINITE;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - WakeSignal::Clock::now());
    return static_cast<DWORD>(std::clamp<std::int64_t>(left.count(), 0, 60'000));
}

} // namespace

struct WakeSignal::Flag
{
    const HANDLE Event = MakeEvent();
};

WakeSignal::WakeSignal() : Self(std::make_unique<Flag>()) {}

WakeSignal::~WakeSignal()
{
    CloseHandle(Self->Event);
}

void WakeSignal::Set()
{
    SetEvent(Self->Event);
}

void WakeSignal::Clear()
{
    ResetEvent(Self->Event);
}

void WakeSignal::WaitUntil(Clock::time_point deadline)
{
    WaitForSingleObject(Self->Event, MillisecondsUntil(deadline));
}
