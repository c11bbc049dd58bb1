/// @file
/// Windows, their messages and device notifications. Windows belong to the thread that creates them
/// and go with it. Functions leave the reason of a failure in the last error.
#pragma once

#include "ModuleLoading.h"
#include "PlatformExport.h"
#include "WinTypes.h"

using WNDPROC = LRESULT(CALLBACK*)(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
using HDEVNOTIFY = HANDLE;

struct POINT
{
    LONG x;
    LONG y;
};

struct MSG
{
    HWND hwnd; ///< Null for a message posted to the thread.
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time; ///< Milliseconds.
    POINT pt;
};
static_assert(sizeof(MSG) == 48);

struct WNDCLASSEXW
{
    UINT cbSize; ///< 80, put in by the caller.
    UINT style;
    WNDPROC lpfnWndProc;
    int cbClsExtra;
    int cbWndExtra;
    HINSTANCE hInstance;
    HICON hIcon;
    HCURSOR hCursor;
    HBRUSH hbrBackground;
    const WCHAR* lpszMenuName;
    const WCHAR* lpszClassName;
    HICON hIconSm;
};
static_assert(sizeof(WNDCLASSEXW) == 80);

/// What WM_NCCREATE and WM_CREATE point at.
struct CREATESTRUCTW
{
    void* lpCreateParams; ///< As given to CreateWindowExW.
    HINSTANCE hInstance;
    HMENU hMenu;
    HWND hwndParent;
    int cy;
    int cx;
    int y;
    int x;
    LONG style;
    const WCHAR* lpszName;
    const WCHAR* lpszClass;
    DWORD dwExStyle;
};
static_assert(sizeof(CREATESTRUCTW) == 80);

/// What every device notification points at.
struct DEV_BROADCAST_HDR
{
    DWORD dbch_size;
    DWORD dbch_devicetype;
    DWORD dbch_reserved;
};
static_assert(sizeof(DEV_BROADCAST_HDR) == 12);

/// A device interface: the filter of a registration, and what a message about one points at.
struct DEV_BROADCAST_DEVICEINTERFACE_W
{
    DWORD dbcc_size; ///< 32 for an empty name.
    DWORD dbcc_devicetype;
    DWORD dbcc_reserved;
    GUID dbcc_classguid;
    WCHAR dbcc_name[1]; ///< In a message the whole path, which extends past the end of the record.
};
static_assert(sizeof(DEV_BROADCAST_DEVICEINTERFACE_W) == 32);

inline constexpr UINT WM_NULL = 0x0;
inline constexpr UINT WM_CREATE = 0x1;
inline constexpr UINT WM_DESTROY = 0x2;
inline constexpr UINT WM_QUIT = 0x12;
inline constexpr UINT WM_GETMINMAXINFO = 0x24;
inline constexpr UINT WM_NCCREATE = 0x81;
inline constexpr UINT WM_NCDESTROY = 0x82;
inline constexpr UINT WM_NCCALCSIZE = 0x83;
inline constexpr UINT WM_POWERBROADCAST = 0x218;
inline constexpr UINT WM_DEVICECHANGE = 0x219;
inline constexpr UINT WM_USER = 0x400;

inline constexpr WPARAM PBT_APMQUERYSUSPEND = 0;
inline constexpr WPARAM PBT_APMQUERYSTANDBY = 1;
inline constexpr WPARAM PBT_APMSUSPEND = 4;
inline constexpr WPARAM PBT_APMSTANDBY = 5;
inline constexpr WPARAM PBT_APMRESUMECRITICAL = 6;
inline constexpr WPARAM PBT_APMRESUMESUSPEND = 7;
inline constexpr WPARAM PBT_APMRESUMESTANDBY = 8;
inline constexpr WPARAM PBT_APMRESUMEAUTOMATIC = 18;

inline constexpr WPARAM DBT_DEVNODES_CHANGED = 7;
inline constexpr WPARAM DBT_DEVICEARRIVAL = 0x8000;
inline constexpr WPARAM DBT_DEVICEQUERYREMOVE = 0x8001;
inline constexpr WPARAM DBT_DEVICEQUERYREMOVEFAILED = 0x8002;
inline constexpr WPARAM DBT_DEVICEREMOVEPENDING = 0x8003;
inline constexpr WPARAM DBT_DEVICEREMOVECOMPLETE = 0x8004;
inline constexpr DWORD DBT_DEVTYP_DEVICEINTERFACE = 5;
inline constexpr LRESULT BROADCAST_QUERY_DENY = 0x424D5144;

inline constexpr DWORD DEVICE_NOTIFY_WINDOW_HANDLE = 0;
inline constexpr UINT CS_VREDRAW = 1;
inline constexpr UINT CS_HREDRAW = 2;
inline constexpr int COLOR_WINDOW = 5;
inline constexpr DWORD WS_OVERLAPPEDWINDOW = 0x00CF0000;
inline constexpr int CW_USEDEFAULT = static_cast<int>(0x80000000);
inline constexpr int SW_HIDE = 0;
inline constexpr UINT PM_NOREMOVE = 0;
inline constexpr UINT PM_REMOVE = 1;

inline constexpr DWORD ERROR_INVALID_WINDOW_HANDLE = 1400;
inline constexpr DWORD ERROR_CANNOT_FIND_WND_CLASS = 1407;
inline constexpr DWORD ERROR_CLASS_ALREADY_EXISTS = 1410;
inline constexpr DWORD ERROR_INVALID_THREAD_ID = 1444;
inline constexpr DWORD ERROR_RESOURCE_DATA_NOT_FOUND = 1812;
inline constexpr DWORD ERROR_RESOURCE_NAME_NOT_FOUND = 1814;
inline constexpr DWORD ERROR_NOT_ENOUGH_QUOTA = 1816;

/// A stock resource is identified by a number instead of a text.
inline const WCHAR* const IDI_APPLICATION = reinterpret_cast<const WCHAR*>(std::uintptr_t{32512});
inline const WCHAR* const IDC_ARROW = reinterpret_cast<const WCHAR*>(std::uintptr_t{32512});

extern "C"
{
    /// A stock icon or cursor; ERROR_RESOURCE_NAME_NOT_FOUND for another number. Modules have no resources
    /// (ERROR_RESOURCE_DATA_NOT_FOUND).
    PLATFORM_API HICON LoadIconW(HINSTANCE module, const WCHAR* name);
    PLATFORM_API HCURSOR LoadCursorW(HINSTANCE module, const WCHAR* name);

    /// Returns 0 for a wrong size, a missing procedure or name (ERROR_INVALID_PARAMETER), or a class that the
    /// module has registered already (ERROR_CLASS_ALREADY_EXISTS). Names are case-insensitive; a null module
    /// means the program, here and in CreateWindowExW.
    PLATFORM_API ATOM RegisterClassExW(const WNDCLASSEXW* windowClass);

    /// Creates a window and calls its procedure with WM_GETMINMAXINFO, WM_NCCREATE, WM_NCCALCSIZE and
    /// WM_CREATE before it returns; 0 from WM_NCCREATE or -1 from WM_CREATE refuse, and leave the last
    /// error alone. Null for a class that the module does not have (ERROR_CANNOT_FIND_WND_CLASS). Only
    /// top-level windows without an owner are known: ERROR_INVALID_WINDOW_HANDLE for a parent.
    PLATFORM_API HWND CreateWindowExW(DWORD extendedStyle, const WCHAR* className, const WCHAR* title, DWORD style,
                                      int x, int y, int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                                      void* parameter);

    /// Nothing is ever drawn: false, since the window was hidden. So for a window that there is not, with
    /// ERROR_INVALID_WINDOW_HANDLE.
    PLATFORM_API BOOL ShowWindow(HWND window, int command);
    /// There is nothing to draw, which is no failure; false for a window that there is not.
    PLATFORM_API BOOL UpdateWindow(HWND window);

    /// Registers a window for the messages of a device-interface class until the window is destroyed. Null
    /// with ERROR_INVALID_DATA for another filter, ERROR_INVALID_PARAMETER for no window. A window that
    /// registers twice receives each message twice.
    PLATFORM_API HDEVNOTIFY RegisterDeviceNotificationW(HANDLE recipient, void* filter, DWORD flags);
    PLATFORM_API BOOL UnregisterDeviceNotification(HDEVNOTIFY notification);

    /// Waits for a posted message of the calling thread. Messages sent to the thread's windows are
    /// carried out meanwhile and do not make it return. 0 for WM_QUIT; -1 for a window that there is
    /// not. `window` and the range must be null and 0 (ERROR_INVALID_PARAMETER): the
    /// stand-in filters nothing.
    PLATFORM_API BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last);
    /// As GetMessageW, but returns at once; false when nothing is posted.
    PLATFORM_API BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT remove);
    /// There is no keyboard: never anything to translate.
    PLATFORM_API BOOL TranslateMessage(const MSG* message);
    /// Calls the procedure of the message's window; 0 when there is none.
    PLATFORM_API LRESULT DispatchMessageW(const MSG* message);
    PLATFORM_API LRESULT DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    /// Calls the procedure of a window on the window's thread and returns its result: immediately on that
    /// thread, otherwise when that thread next retrieves messages. While waiting, it dispatches messages
    /// sent to the calling thread. 0 with ERROR_INVALID_WINDOW_HANDLE if there is no such window or it is
    /// destroyed meanwhile.
    PLATFORM_API LRESULT SendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    /// A null window means the calling thread. ERROR_NOT_ENOUGH_QUOTA when 10,000 messages are queued.
    PLATFORM_API BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    /// ERROR_INVALID_THREAD_ID for a thread that has not yet called another function of this header than
    /// GetCurrentThreadId.
    PLATFORM_API BOOL PostThreadMessageW(DWORD thread, UINT message, WPARAM wParam, LPARAM lParam);
    /// Has the calling thread's queue give WM_QUIT when nothing else is posted.
    PLATFORM_API void PostQuitMessage(int exitCode);
    /// Calls the procedure with WM_DESTROY and WM_NCDESTROY. ERROR_ACCESS_DENIED for a window of another
    /// thread. Who waits for an answer of the window is released.
    PLATFORM_API BOOL DestroyWindow(HWND window);
    /// Cannot fail.
    PLATFORM_API DWORD GetCurrentThreadId();
}
