/// @file
/// Retrieving, sending and posting window messages.
///
/// A thread gets its message queue with its first call of a function of this header or of Windowing.h. Functions
/// report the reason of a failure in the last error. All may be called from any thread.
#pragma once

#include "PlatformExport.h"
#include "WinTypes.h"
#include "Windowing.h"

/// A position on the screen; always 0 here.
struct POINT
{
    LONG x;
    LONG y;
};

/// A posted message.
struct MSG
{
    HWND hwnd; ///< Null for a message posted to the thread.
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time; ///< Of posting, in milliseconds from an unspecified start.
    POINT pt;
};
static_assert(sizeof(MSG) == 48);

inline constexpr UINT PM_NOREMOVE = 0;
inline constexpr UINT PM_REMOVE = 1;

inline constexpr DWORD ERROR_INVALID_THREAD_ID = 1444; ///< The thread has no queue.
inline constexpr DWORD ERROR_NOT_ENOUGH_QUOTA = 1816;  ///< The queue is full.

extern "C"
{
    /// Blocks until a message is posted to the calling thread. Dispatches messages sent to the thread's windows
    /// meanwhile; these do not make it return. 0 for WM_QUIT; -1 for a window that does not exist. `window` and the
    /// range must be null and 0 (ERROR_INVALID_PARAMETER), because the stand-in does not filter.
    PLATFORM_API BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last) PLATFORM_NAME(GetMessageW);
    /// Does what GetMessageW does, but returns FALSE at once if nothing is posted. PM_NOREMOVE leaves the message
    /// in the queue.
    PLATFORM_API BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT remove)
        PLATFORM_NAME(PeekMessageW);
    /// Returns FALSE: there is no keyboard, so there is nothing to translate.
    PLATFORM_API BOOL TranslateMessage(const MSG* message) PLATFORM_NAME(TranslateMessage);
    /// Calls the procedure of the message's window and returns its result; 0 for a message to the thread.
    PLATFORM_API LRESULT DispatchMessageW(const MSG* message) PLATFORM_NAME(DispatchMessageW);
    /// The default procedure: accepts creation, power and device queries; otherwise returns 0.
    PLATFORM_API LRESULT DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
        PLATFORM_NAME(DefWindowProcW);

    /// Calls the procedure of a window on the window's thread and returns its result: immediately on that
    /// thread, otherwise when that thread next retrieves messages. While waiting, it dispatches messages
    /// sent to the calling thread. 0 with ERROR_INVALID_WINDOW_HANDLE if there is no such window or it is
    /// destroyed meanwhile. The wait has no bound.
    PLATFORM_API LRESULT SendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
        PLATFORM_NAME(SendMessageW);
    /// Posts a message; a null window means the calling thread. ERROR_NOT_ENOUGH_QUOTA when 10,000 are queued.
    PLATFORM_API BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) PLATFORM_NAME(PostMessageW);
    /// Posts a message to a thread. ERROR_INVALID_THREAD_ID for a thread that has no queue yet.
    PLATFORM_API BOOL PostThreadMessageW(DWORD thread, UINT message, WPARAM wParam, LPARAM lParam)
        PLATFORM_NAME(PostThreadMessageW);
    /// Makes the calling thread's queue return WM_QUIT once nothing else is posted.
    PLATFORM_API void PostQuitMessage(int exitCode) PLATFORM_NAME(PostQuitMessage);
}
