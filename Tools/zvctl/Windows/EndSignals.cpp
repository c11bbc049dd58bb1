#include "EndSignals.h"

#include <atomic>
#include <windows.h>

namespace
{

// Windows calls the handler on a separate thread.
std::atomic<WakeSignal*> Wake = nullptr;
std::atomic<bool> Came = false;
std::atomic<bool> CameBreak = false;

/// The end of the console or of the session stays the end of the process.
BOOL WINAPI NoteSignal(DWORD signal)
{
    if (signal != CTRL_C_EVENT && signal != CTRL_BREAK_EVENT)
        return FALSE;
    Came = true;
    if (signal == CTRL_BREAK_EVENT)
        CameBreak = true;
    if (WakeSignal* const wake = Wake)
        wake->Set();
    return TRUE;
}

} // namespace

void EndSignals::Take(WakeSignal& wake)
{
    if (Wake.exchange(&wake) == nullptr)
        SetConsoleCtrlHandler(NoteSignal, TRUE);
}

void EndSignals::Release()
{
    if (Wake.exchange(nullptr) != nullptr)
        SetConsoleCtrlHandler(NoteSignal, FALSE);
    Came = false;
}

bool EndSignals::Asked()
{
    return Came;
}

bool EndSignals::Terminated()
{
    return CameBreak;
}
