#include "EndSignals.h"

#include <atomic>
#include <windows.h>

namespace
{

// Windows calls the handler on a separate thread.
std::atomic<WakeSignal*> Wake = nullptr;
std::atomic<bool> Arrived = false;
std::atomic<bool> HasBreak = false;

/// Leaves the closing of the console and the end of the session to Windows, which end the process.
BOOL WINAPI NoteSignal(DWORD signal)
{
    if (signal != CTRL_C_EVENT && signal != CTRL_BREAK_EVENT)
        return FALSE;
    Arrived = true;
    if (signal == CTRL_BREAK_EVENT)
        HasBreak = true;
    // Null after Release, which may run concurrently with this thread; signal objects exist until the process exits.
    if (WakeSignal* const wake = Wake)
        wake->Set();
    return TRUE;
}

} // namespace

void EndSignals::Take(WakeSignal& wake)
{
    // Windows keeps a list of handlers; adding this one twice would call it twice.
    if (Wake.exchange(&wake) == nullptr)
        SetConsoleCtrlHandler(NoteSignal, TRUE);
}

void EndSignals::Release()
{
    if (Wake.exchange(nullptr) != nullptr)
        SetConsoleCtrlHandler(NoteSignal, FALSE);
    // Not HasBreak: a script or a session ends after the command that received it.
    Arrived = false;
}

bool EndSignals::Asked()
{
    return Arrived;
}

bool EndSignals::Terminated()
{
    return HasBreak;
}
