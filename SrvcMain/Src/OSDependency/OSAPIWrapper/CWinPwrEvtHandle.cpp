#include "CWinPwrEvtHandle.h"

#include "ProcessWait.h"
#include "TracePoint.h"

#include <chrono>
#include <thread>

namespace
{

constexpr CWideText WindowName{"ZVUWPSrvcLib"};
/// The message that stops the thread.
constexpr UINT StopMessage = WM_QUIT;
static_assert(StopMessage == 18);

/// Windows reports a thread that has already exited in either of two ways.
bool HasThreadExited(DWORD error)
{
    return error == ERROR_INVALID_THREAD_ID || error == ERROR_INVALID_PARAMETER;
}

} // namespace

CWinPwrEvtHandle::~CWinPwrEvtHandle()
{
    DeInitPwrEvtHandler();
}

bool CWinPwrEvtHandle::InitPwrEvtHandler(WNDPROC wndProc)
{
    if ((PwrEvtState & ZV_PWREVT_ACTIVE) != 0)
        return false;
    WndProc = wndProc;
    WindowThreadId = 0;
    if (!WindowThread.Start(&CWinPwrEvtHandle::ServeWindow, this))
        return false;
    PwrEvtState |= ZV_PWREVT_ACTIVE;
    return true;
}

void CWinPwrEvtHandle::DeInitPwrEvtHandler()
{
    if ((PwrEvtState & ZV_PWREVT_ACTIVE) != 0)
    {
        PwrEvtState |= ZV_PWREVT_STOPPING;
        // Before that there is no window to send to.
        AwaitChange(WindowThreadId, 0U);
        SendMessageW(Window, StopMessage, 0, 0);
        // SendMessage reaches the procedure but does not make GetMessage return; PostThreadMessage does.
        // Posted to the thread, because the window may not exist. Retried, because the thread's queue may
        // be full temporarily, and without the message the join would hang.
        while (!PostThreadMessageW(WindowThreadId, StopMessage, 0, 0) && !HasThreadExited(GetLastError()))
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        WindowThread.Join();
    }
    PwrEvtState = 0;
}

void CWinPwrEvtHandle::AwaitWindow()
{
    if ((PwrEvtState & ZV_PWREVT_ACTIVE) != 0)
        AwaitChange(WindowThreadId, 0U);
}

void CWinPwrEvtHandle::ServeWindow(void* self)
{
    auto& handle = *static_cast<CWinPwrEvtHandle*>(self);
    handle.OpenWindow();
    handle.PumpMessages();
}

/// Ignores failures: without a window the thread waits to be stopped, and no events arrive.
void CWinPwrEvtHandle::OpenWindow()
{
    const HINSTANCE program = GetModuleHandleW(nullptr);
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    static_assert(sizeof windowClass == 80);
    windowClass.style = CS_VREDRAW | CS_HREDRAW;
    windowClass.lpfnWndProc = WndProc;
    windowClass.hInstance = program;
    windowClass.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(std::uintptr_t{COLOR_WINDOW + 1});
    windowClass.lpszClassName = WindowName.Text;
    windowClass.hIconSm = LoadIconW(nullptr, IDI_APPLICATION);
    RegisterClassExW(&windowClass);
    Window = CreateWindowExW(0, WindowName.Text, WindowName.Text, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, 0, CW_USEDEFAULT,
                             0, nullptr, nullptr, program, nullptr);
    // Gives the thread a message queue, which it needs even if its window could not be created.
    MSG none{};
    PeekMessageW(&none, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
    ShowWindow(Window, SW_HIDE);
    RegisterInterfaces();
    UpdateWindow(Window);
    WindowThreadId = GetCurrentThreadId();
    NotifyChange();
}

void CWinPwrEvtHandle::RegisterInterfaces()
{
    for (const GUID& interfaceClass : DeviceInterfaceClasses)
    {
        DEV_BROADCAST_DEVICEINTERFACE_W filter{};
        filter.dbcc_size = sizeof filter;
        static_assert(sizeof filter == 32);
        filter.dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
        filter.dbcc_classguid = interfaceClass;
        // Never unregistered: the registration is needed as long as the window exists.
        if (RegisterDeviceNotificationW(Window, &filter, DEVICE_NOTIFY_WINDOW_HANDLE) == nullptr)
        {
            const std::uint32_t error = GetLastError();
            ZV_TRACE(InterfaceNotRegistered, error);
            return;
        }
    }
}

void CWinPwrEvtHandle::PumpMessages() const
{
    for (;;)
    {
        MSG message{};
        const BOOL result = GetMessageW(&message, nullptr, 0, 0);
        const std::uint32_t state = PwrEvtState;
        const std::uint32_t number = message.message;
        if (number == StopMessage || (state & ZV_PWREVT_STOPPING) != 0 || result == -1)
        {
            const auto outcome = static_cast<std::uint32_t>(result);
            ZV_TRACE(WindowThreadLeft, state, outcome);
            return;
        }
        ZV_TRACE(WindowThreadMessage, number);
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}
