/// @file
/// Windows and device notifications; Messages.h declares their messages.
///
/// A window belongs to the thread that creates it and is destroyed with it. All functions may be called from any
/// thread unless they say otherwise, and report the reason of a failure in the last error. No lock of the stand-in is
/// held while a window procedure runs, so a procedure may call any of them.
#pragma once

#include "ModuleLoading.h"
#include "PlatformExport.h"
#include "WinTypes.h"

/// Runs on the window's thread only.
using WNDPROC = LRESULT(CALLBACK*)(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
/// A registration for device notifications.
using HDEVNOTIFY = HANDLE;

/// Describes a window class. Only the size, the procedure, the module and the name have an effect.
struct WNDCLASSEXW
{
    UINT cbSize; ///< 80, set by the caller.
    UINT style;
    WNDPROC lpfnWndProc;
    int cbClsExtra;
    int cbWndExtra;
    HINSTANCE hInstance;
    HICON hIcon;
    HCURSOR hCursor;
    HBRUSH hbrBackground;
    const WCHAR* lpszMenuName;
    const WCHAR* lpszClassName; ///< At most 256 characters.
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

/// @name Messages
/// @{
inline constexpr UINT WM_NULL = 0x0;   ///< Without effect; sent to check whether a window responds.
inline constexpr UINT WM_CREATE = 0x1; ///< Result -1 refuses the creation.
inline constexpr UINT WM_DESTROY = 0x2;
inline constexpr UINT WM_QUIT = 0x12; ///< Ends a message loop; never reaches a procedure.
inline constexpr UINT WM_GETMINMAXINFO = 0x24;
inline constexpr UINT WM_NCCREATE = 0x81;  ///< Result 0 refuses the creation.
inline constexpr UINT WM_NCDESTROY = 0x82; ///< The last message of a window.
inline constexpr UINT WM_NCCALCSIZE = 0x83;
inline constexpr UINT WM_POWERBROADCAST = 0x218; ///< lParam is 0.
inline constexpr UINT WM_DEVICECHANGE = 0x219;   ///< lParam points at a DEV_BROADCAST_HDR or is 0.
inline constexpr UINT WM_USER = 0x400;           ///< First number for an application's own messages.
/// @}

/// @name wParam of WM_POWERBROADCAST
/// Since Windows Vista, the queries and PBT_APMRESUMECRITICAL are no longer sent.
/// @{
inline constexpr WPARAM PBT_APMQUERYSUSPEND = 0;
inline constexpr WPARAM PBT_APMQUERYSTANDBY = 1;
inline constexpr WPARAM PBT_APMSUSPEND = 4;
inline constexpr WPARAM PBT_APMSTANDBY = 5;
inline constexpr WPARAM PBT_APMRESUMECRITICAL = 6;
inline constexpr WPARAM PBT_APMRESUMESUSPEND = 7; ///< Sent second, if a user is present.
inline constexpr WPARAM PBT_APMRESUMESTANDBY = 8;
inline constexpr WPARAM PBT_APMRESUMEAUTOMATIC = 18; ///< Sent first, after every suspend.
/// @}

/// @name wParam of WM_DEVICECHANGE
/// @{
inline constexpr WPARAM DBT_DEVNODES_CHANGED = 7; ///< Without a record, to every top-level window.
inline constexpr WPARAM DBT_DEVICEARRIVAL = 0x8000;
inline constexpr WPARAM DBT_DEVICEQUERYREMOVE = 0x8001;       ///< The only one whose result has an effect.
inline constexpr WPARAM DBT_DEVICEQUERYREMOVEFAILED = 0x8002; ///< Another window has denied the removal.
inline constexpr WPARAM DBT_DEVICEREMOVEPENDING = 0x8003;     ///< Never sent by the stand-in.
inline constexpr WPARAM DBT_DEVICEREMOVECOMPLETE = 0x8004;
/// @}
inline constexpr DWORD DBT_DEVTYP_DEVICEINTERFACE = 5;
/// Result with which a window denies a removal query.
inline constexpr LRESULT BROADCAST_QUERY_DENY = 0x424D5144;

inline constexpr DWORD DEVICE_NOTIFY_WINDOW_HANDLE = 0;
inline constexpr UINT CS_VREDRAW = 1;
inline constexpr UINT CS_HREDRAW = 2;
inline constexpr int COLOR_WINDOW = 5;
inline constexpr DWORD WS_OVERLAPPEDWINDOW = 0x00CF0000;
inline constexpr int CW_USEDEFAULT = static_cast<int>(0x80000000);
inline constexpr int SW_HIDE = 0;

inline constexpr DWORD ERROR_INVALID_WINDOW_HANDLE = 1400;
inline constexpr DWORD ERROR_CANNOT_FIND_WND_CLASS = 1407;
inline constexpr DWORD ERROR_CLASS_ALREADY_EXISTS = 1410;
inline constexpr DWORD ERROR_RESOURCE_DATA_NOT_FOUND = 1812;
inline constexpr DWORD ERROR_RESOURCE_NAME_NOT_FOUND = 1814;

/// A stock resource is identified by a number instead of a text.
inline const WCHAR* const IDI_APPLICATION = reinterpret_cast<const WCHAR*>(std::uintptr_t{32512});
inline const WCHAR* const IDC_ARROW = reinterpret_cast<const WCHAR*>(std::uintptr_t{32512});

extern "C"
{
    /// Returns a stock icon or cursor, which is not freed. Null with ERROR_RESOURCE_NAME_NOT_FOUND for another
    /// number, and with ERROR_RESOURCE_DATA_NOT_FOUND for a module, because modules have no resources here.
    PLATFORM_API HICON LoadIconW(HINSTANCE module, const WCHAR* name) PLATFORM_NAME(LoadIconW);
    PLATFORM_API HCURSOR LoadCursorW(HINSTANCE module, const WCHAR* name) PLATFORM_NAME(LoadCursorW);

    /// Registers a window class. Returns 0 for a wrong size, a missing procedure or name (ERROR_INVALID_PARAMETER), or
    /// a class that the module has registered already (ERROR_CLASS_ALREADY_EXISTS). Names are case-insensitive; a null
    /// module means the program, here and in CreateWindowExW.
    PLATFORM_API ATOM RegisterClassExW(const WNDCLASSEXW* windowClass) PLATFORM_NAME(RegisterClassExW);

    /// Creates a window and calls its procedure with WM_GETMINMAXINFO, WM_NCCREATE, WM_NCCALCSIZE and
    /// WM_CREATE before it returns. 0 from WM_NCCREATE or -1 from WM_CREATE refuses the creation and leaves the
    /// last error unchanged. Null for a class that the module does not have (ERROR_CANNOT_FIND_WND_CLASS). Only
    /// top-level windows without an owner are supported: ERROR_INVALID_WINDOW_HANDLE for a parent.
    PLATFORM_API HWND CreateWindowExW(DWORD extendedStyle, const WCHAR* className, const WCHAR* title, DWORD style,
                                      int x, int y, int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                                      void* parameter) PLATFORM_NAME(CreateWindowExW);

    /// Draws nothing. Returns FALSE, because the window was hidden before; for a window that does not exist also
    /// sets ERROR_INVALID_WINDOW_HANDLE.
    PLATFORM_API BOOL ShowWindow(HWND window, int command) PLATFORM_NAME(ShowWindow);
    /// Draws nothing. Returns FALSE for a window that does not exist (ERROR_INVALID_WINDOW_HANDLE).
    PLATFORM_API BOOL UpdateWindow(HWND window) PLATFORM_NAME(UpdateWindow);

    /// Registers a window for the messages of a device-interface class until the window is destroyed. The
    /// filter is copied. Null with ERROR_INVALID_DATA for another filter, ERROR_INVALID_PARAMETER for no window. A
    /// window that registers twice receives each message twice.
    PLATFORM_API HDEVNOTIFY RegisterDeviceNotificationW(HANDLE recipient, void* filter, DWORD flags)
        PLATFORM_NAME(RegisterDeviceNotificationW);
    /// Ends a registration. A message that is being sent is still delivered. ERROR_INVALID_HANDLE for an unknown one.
    PLATFORM_API BOOL UnregisterDeviceNotification(HDEVNOTIFY notification) PLATFORM_NAME(UnregisterDeviceNotification);

    /// Calls the procedure with WM_DESTROY and WM_NCDESTROY. ERROR_ACCESS_DENIED for a window of another
    /// thread. Threads that wait for an answer of the window are released.
    PLATFORM_API BOOL DestroyWindow(HWND window) PLATFORM_NAME(DestroyWindow);
    /// Returns the calling thread's number. Cannot fail.
    PLATFORM_API DWORD GetCurrentThreadId() PLATFORM_NAME(GetCurrentThreadId);
}
