// The functions of Messages.h.
#include "Messages.h"

#include "ThreadQueue.h"
#include "WindowTable.h"

#include <chrono>

using namespace Platform;

namespace
{

/// Returns the error in the arguments of a call that retrieves messages; 0 for none.
DWORD RetrieveError(const MSG* message, HWND window, UINT first, UINT last)
{
    if (message == nullptr)
        return ERROR_NOACCESS;
    // Checked before the filter, because Windows reports a destroyed window by a specific error.
    if (window != nullptr && !WindowTable::Instance().Find(window))
        return ERROR_INVALID_WINDOW_HANDLE;
    return window != nullptr || first != 0 || last != 0 ? ERROR_INVALID_PARAMETER : ERROR_SUCCESS;
}

bool TakeMessage(MSG& message, bool wait, bool remove)
{
    const MessageQueuePtr mine = ThisThreadsQueue();
    const ScopedLock lock(WindowLock);
    return mine->Take(message, wait, remove);
}

MSG MakeMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    using namespace std::chrono;
    // Milliseconds since an arbitrary start, cut to 32 bits like the tick count of Windows.
    const auto now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    return {window, message, wParam, lParam, static_cast<DWORD>(now), {0, 0}};
}

BOOL PostTo(MessageQueue& queue, const MSG& message) PLATFORM_REQUIRES(WindowLock)
{
    return queue.Post(message) ? TRUE : FailWith(ERROR_NOT_ENOUGH_QUOTA);
}

// The window may have been destroyed after it was looked up.
BOOL PostToWindow(const Window& window, const MSG& message)
{
    const ScopedLock lock(WindowLock);
    return window.Gone ? FailWith(ERROR_INVALID_WINDOW_HANDLE) : PostTo(*window.Queue, message);
}

} // namespace

BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last)
{
    if (WindowingCallFails("GetMessageW"))
        return -1;
    if (const DWORD error = RetrieveError(message, window, first, last))
    {
        SetLastError(error);
        return -1;
    }
    TakeMessage(*message, true, true);
    return message->message != WM_QUIT ? TRUE : FALSE;
}

BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT remove)
{
    if (WindowingCallFails("PeekMessageW"))
        return FALSE;
    if (const DWORD error = RetrieveError(message, window, first, last))
        return FailWith(error);
    return TakeMessage(*message, false, (remove & PM_REMOVE) != 0) ? TRUE : FALSE;
}

BOOL TranslateMessage(const MSG* /*message*/)
{
    WindowingCallFails("TranslateMessage");
    return FALSE;
}

LRESULT DispatchMessageW(const MSG* message)
{
    if (WindowingCallFails("DispatchMessageW") || message == nullptr || message->hwnd == nullptr)
        return 0;
    // Windows rejects a window of another thread, since only its own thread may run its procedure.
    const WindowPtr window = WindowTable::Instance().Find(message->hwnd);
    if (!window || window->Queue != ThisThreadsQueue())
    {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return 0;
    }
    return window->Procedure(message->hwnd, message->message, message->wParam, message->lParam);
}

LRESULT DefWindowProcW(HWND window, UINT message, WPARAM /*wParam*/, LPARAM /*lParam*/)
{
    if (WindowingCallFails("DefWindowProcW"))
        return 0;
    if (!WindowTable::Instance().Find(window))
    {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return 0;
    }
    // The published defaults: accept the creation, a suspend query and a removal query.
    return message == WM_NCCREATE || message == WM_POWERBROADCAST || message == WM_DEVICECHANGE ? TRUE : 0;
}

LRESULT SendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
try
{
    if (WindowingCallFails("SendMessageW"))
        return 0;
    const WindowPtr found = WindowTable::Instance().Find(window);
    // Blocks without a bound, as published: the receiver may never retrieve messages.
    const auto answer = found ? ThisThreadsQueue()->Send(found, {message, wParam, lParam}) : std::nullopt;
    if (!answer)
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return answer.value_or(0);
}
catch (const std::bad_alloc&)
{
    return OutOfMemory<LRESULT>(0);
}

BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
try
{
    if (WindowingCallFails("PostMessageW"))
        return FALSE;
    const MSG posted = MakeMessage(window, message, wParam, lParam);
    if (window == nullptr) // as published: a message to the calling thread
    {
        const MessageQueuePtr mine = ThisThreadsQueue();
        const ScopedLock lock(WindowLock);
        return PostTo(*mine, posted);
    }
    const WindowPtr found = WindowTable::Instance().Find(window);
    return found ? PostToWindow(*found, posted) : FailWith(ERROR_INVALID_WINDOW_HANDLE);
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(FALSE);
}

BOOL PostThreadMessageW(DWORD thread, UINT message, WPARAM wParam, LPARAM lParam)
try
{
    if (WindowingCallFails("PostThreadMessageW"))
        return FALSE;
    const ScopedLock lock(WindowLock);
    const MessageQueuePtr queue = QueueOfThread(thread);
    return queue ? PostTo(*queue, MakeMessage(nullptr, message, wParam, lParam)) : FailWith(ERROR_INVALID_THREAD_ID);
}
catch (const std::bad_alloc&)
{
    return OutOfMemory(FALSE);
}

void PostQuitMessage(int exitCode)
{
    if (!WindowingCallFails("PostQuitMessage"))
    {
        const MessageQueuePtr mine = ThisThreadsQueue();
        const ScopedLock lock(WindowLock);
        mine->PostQuit(exitCode);
    }
}
