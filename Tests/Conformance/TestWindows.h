/// @file
/// Windows that a test gives their procedure, and a thread that serves two.
#pragma once

#include "OSPlatform.h"

#include <functional>
#include <future>
#include <thread>
#include <vector>

using Handler = std::function<LRESULT(HWND, UINT, WPARAM, LPARAM)>;

inline constexpr CWideText ClassName = "ZVConformance";
inline constexpr GUID LanClass = {0xAD498944, 0x762F, 0x11D0, {0x8D, 0xCB, 0x00, 0xC0, 0x4F, 0xC3, 0x35, 0x8C}};

inline thread_local Handler handler = DefWindowProcW; // of this thread's windows

inline LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    return handler(window, message, wParam, lParam);
}

inline WNDCLASSEXW TestClass()
{
    WNDCLASSEXW record{};
    record.cbSize = sizeof(record);
    record.lpfnWndProc = Procedure;
    record.lpszClassName = ClassName.Text;
    return record;
}

inline HWND MakeWindow(void* parameter = nullptr)
{
    return CreateWindowExW(0, ClassName.Text, CWideText{""}.Text, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, 0, CW_USEDEFAULT,
                           0, nullptr, nullptr, GetModuleHandleW(nullptr), parameter);
}

inline HDEVNOTIFY Register(HWND window, DWORD size = 32, DWORD type = DBT_DEVTYP_DEVICEINTERFACE)
{
    DEV_BROADCAST_DEVICEINTERFACE_W filter{size, type, 0, LanClass, {}};
    return RegisterDeviceNotificationW(window, &filter, DEVICE_NOTIFY_WINDOW_HANDLE);
}

/// A thread with two windows that dispatches messages until it receives a quit.
class WindowThread
{
public:
    explicit WindowThread(const Handler& work)
    {
        std::promise<void> ready;
        Thread = std::jthread([&, work] {
            handler = work;
            First = MakeWindow();
            Second = MakeWindow();
            ready.set_value();
            for (MSG message; GetMessageW(&message, nullptr, 0, 0) > 0; DispatchMessageW(&message))
                Returned.push_back(message.message);
        });
        ready.get_future().wait();
    }
    ~WindowThread() { Quit(); }

    /// The posted messages that its loop saw.
    std::vector<UINT> Quit()
    {
        if (Thread.joinable())
        {
            PostMessageW(First, WM_QUIT, 0, 0);
            Thread.join();
        }
        return Returned;
    }

    HWND First{};
    HWND Second{};

private:
    std::vector<UINT> Returned;
    std::jthread Thread;
};
