// The functions of Windowing.h for classes and windows. Procedures run without WindowLock, so a window may be destroyed
// during any of these calls.
#include "Windowing.h"

#include "ModuleTable.h"
#include "ThreadQueue.h"
#include "WindowTable.h"

#include <unistd.h>

#include <string_view>
#include <utility>

using namespace Platform;

namespace
{

// The records that WM_GETMINMAXINFO and WM_NCCALCSIZE point at; only their sizes matter here.
struct SizeLimits
{
    POINT Places[5];
};
struct Rectangle
{
    LONG Edges[4];
};

constexpr std::size_t LongestClassName = 256; // published limit

bool IsNumber(const WCHAR* name)
{
    return reinterpret_cast<std::uintptr_t>(name) <= 0xFFFF;
}

// Windows registers a class without a module for the program.
HINSTANCE OrProgram(HINSTANCE module)
{
    return module != nullptr ? module : ProgramModule();
}

// A negative number of extra bytes is an error on Windows; positive ones have no effect here.
bool IsComplete(const WNDCLASSEXW* windowClass)
{
    return windowClass != nullptr && windowClass->cbSize == sizeof(WNDCLASSEXW) &&
           windowClass->lpfnWndProc != nullptr && windowClass->cbClsExtra >= 0 && windowClass->cbWndExtra >= 0 &&
           !IsNumber(windowClass->lpszClassName) &&
           std::u16string_view(windowClass->lpszClassName).size() <= LongestClassName;
}

/// Uses a stock resource's number as its handle. Modules have no resources.
std::uintptr_t StockResource(HINSTANCE module, const WCHAR* name)
{
    constexpr std::uintptr_t first = 32512;
    constexpr std::uintptr_t last = 32651;
    const auto number = reinterpret_cast<std::uintptr_t>(name);
    if (module != nullptr || number < first || number > last)
    {
        SetLastError(module != nullptr ? ERROR_RESOURCE_DATA_NOT_FOUND : ERROR_RESOURCE_NAME_NOT_FOUND);
        return 0;
    }
    return number;
}

LRESULT Call(const Window& window, UINT message, const void* record = nullptr)
{
    return window.Procedure(window.Handle, message, 0, reinterpret_cast<LPARAM>(record));
}

/// Returns false if the window is being destroyed already. Runs on the window's thread.
bool Destroy(Window& window)
{
    // A procedure may call DestroyWindow again inside WM_DESTROY.
    if (std::exchange(window.Leaving, true))
        return false;
    Call(window, WM_DESTROY);
    Call(window, WM_NCDESTROY);
    WindowTable::Instance().Remove(window);
    return true;
}

/// Sends the messages of a creation. Returns false if the procedure refuses or destroys the window.
bool Introduce(Window& window, const CREATESTRUCTW& create)
{
    // The order in which Windows sends them.
    const SizeLimits limits{};
    Call(window, WM_GETMINMAXINFO, &limits);
    if (Call(window, WM_NCCREATE, &create) == 0)
    {
        window.Leaving = true;
        Call(window, WM_NCDESTROY);
        WindowTable::Instance().Remove(window);
        return false;
    }
    const Rectangle client{};
    Call(window, WM_NCCALCSIZE, &client);
    if (Call(window, WM_CREATE, &create) == -1)
    {
        Destroy(window);
        return false;
    }
    return !window.Leaving; // the procedure may have destroyed the window inside WM_CREATE
}

} // namespace

HICON LoadIconW(HINSTANCE module, const WCHAR* name)
{
    return WindowingCallFails("LoadIconW") ? nullptr : reinterpret_cast<HICON>(StockResource(module, name));
}

HCURSOR LoadCursorW(HINSTANCE module, const WCHAR* name)
{
    return WindowingCallFails("LoadCursorW") ? nullptr : reinterpret_cast<HCURSOR>(StockResource(module, name));
}

ATOM RegisterClassExW(const WNDCLASSEXW* windowClass)
try
{
    if (WindowingCallFails("RegisterClassExW"))
        return 0;
    if (!IsComplete(windowClass))
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const ATOM number = WindowTable::Instance().AddClass(OrProgram(windowClass->hInstance),
                                                         ToUtf8(windowClass->lpszClassName), windowClass->lpfnWndProc);
    if (number == 0)
        SetLastError(ERROR_CLASS_ALREADY_EXISTS);
    return number;
}
catch (const std::bad_alloc&)
{
    return OutOfMemory<ATOM>(0);
}

HWND CreateWindowExW(DWORD extendedStyle, const WCHAR* className, const WCHAR* title, DWORD style, int x, int y,
                     int width, int height, HWND parent, HMENU menu, HINSTANCE instance, void* parameter)
try
{
    if (WindowingCallFails("CreateWindowExW"))
        return nullptr;
    WindowTable& table = WindowTable::Instance();
    const HINSTANCE module = OrProgram(instance);
    const WNDPROC procedure = table.FindClass(module, className);
    if (procedure == nullptr || parent != nullptr)
    {
        SetLastError(procedure == nullptr ? ERROR_CANNOT_FIND_WND_CLASS : ERROR_INVALID_WINDOW_HANDLE);
        return nullptr;
    }
    // A thread that runs its last destructors has an ended queue, and nobody would destroy its window.
    const WindowPtr window = table.Add(procedure, ThisThreadsQueue());
    if (!window)
    {
        SetLastError(ERROR_INVALID_THREAD_ID);
        return nullptr;
    }
    const CREATESTRUCTW create{
        parameter, module,    menu,         parent, height, width, y, x, static_cast<LONG>(style),
        title,     className, extendedStyle};
    try
    {
        return Introduce(*window, create) ? window->Handle : nullptr;
    }
    catch (const std::bad_alloc&)
    {
        // Without WM_DESTROY: the creation failed, so the procedure does not expect it.
        table.Remove(*window);
        throw;
    }
}
catch (const std::bad_alloc&)
{
    return OutOfMemory<HWND>(nullptr);
}

BOOL ShowWindow(HWND window, int /*command*/)
{
    // FALSE means that the window was hidden before, so it is no failure.
    if (!WindowingCallFails("ShowWindow") && !WindowTable::Instance().Find(window))
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
}

BOOL UpdateWindow(HWND window)
{
    if (WindowingCallFails("UpdateWindow"))
        return FALSE;
    return WindowTable::Instance().Find(window) ? TRUE : FailWith(ERROR_INVALID_WINDOW_HANDLE);
}

BOOL DestroyWindow(HWND window)
{
    if (WindowingCallFails("DestroyWindow"))
        return FALSE;
    const WindowPtr found = WindowTable::Instance().Find(window);
    if (!found)
        return FailWith(ERROR_INVALID_WINDOW_HANDLE);
    // The procedure may run on its own thread only, so another thread cannot send it WM_DESTROY.
    if (found->Queue != ThisThreadsQueue())
        return FailWith(ERROR_ACCESS_DENIED);
    return Destroy(*found) ? TRUE : FailWith(ERROR_INVALID_WINDOW_HANDLE);
}

DWORD GetCurrentThreadId()
{
    return static_cast<DWORD>(gettid());
}
