#include "WakeSignal.h"

#include <system_error>
#include <windows.h>

namespace
{

HANDLE MakeEvent()
{
    // Manual reset: only Clear resets the flag, as with the eventfd on Linux.
    const HANDLE made = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (made == nullptr)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), "CreateEvent");
    return made;
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
    WaitForSingleObject(Self->Event, static_cast<DWORD>(Step(deadline).count()));
}
