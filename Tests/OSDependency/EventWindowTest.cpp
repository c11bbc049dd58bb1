/// The hidden window and its thread.

#include "CWinPwrEvtHandle.h"

#include "Faults.h"
#include "Hosting.h"

#include <gtest/gtest.h>

#include <mutex>

namespace
{

std::mutex messagesLock;
std::vector<std::uint32_t> messages; ///< Guarded by messagesLock.

LRESULT CALLBACK Remember(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    {
        const std::lock_guard lock(messagesLock);
        messages.push_back(message);
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

LRESULT CALLBACK NeverCalled(HWND /*window*/, UINT /*message*/, WPARAM /*wParam*/, LPARAM /*lParam*/)
{
    ADD_FAILURE();
    return 0;
}

TEST(EventWindow, ReceivesMessagesFromItsCreationToTheStopMessage)
{
    Platform::ScopedMachine machine;
    CWinPwrEvtHandle window;
    EXPECT_TRUE(window.InitPwrEvtHandler(&Remember));
    EXPECT_FALSE(window.InitPwrEvtHandler(&NeverCalled));
    while (machine->Calls("UpdateWindow") == 0)
        std::this_thread::yield();
    machine->Broadcast(0x219, 7);
    machine->Suspend();
    window.DeInitPwrEvtHandler();
    window.DeInitPwrEvtHandler();
    EXPECT_EQ(machine->Calls("SendMessageW"), 1U);
    EXPECT_EQ(messages,
              (std::vector<std::uint32_t>{WM_GETMINMAXINFO, WM_NCCREATE, WM_NCCALCSIZE, WM_CREATE, 0x219, 0x218, 18}));
}

TEST(EventWindow, StopsAtAnyPointOfItsStart)
{
    Platform::ScopedMachine machine;
    for (int i = 0; i < 200; ++i)
    {
        CWinPwrEvtHandle window;
        ASSERT_TRUE(window.InitPwrEvtHandler(&Remember));
        for (int wait = 0; wait < i; ++wait)
            std::this_thread::yield();
        if (i % 2 == 0)
            window.DeInitPwrEvtHandler();
    }
    EXPECT_EQ(Platform::CountOpenObjects().Windows, 0U);
}

TEST(EventWindow, StopsAfterAnyFailure)
{
    Platform::ScopedMachine machine;
    for (const char* call : {"RegisterClassExW", "CreateWindowExW", "RegisterDeviceNotificationW", "GetMessageW",
                             "SendMessageW", "PostThreadMessageW", "LoadIconW", "GetModuleHandleW"})
    {
        SCOPED_TRACE(call);
        machine->FailCall(call, 1, 1816);
        CWinPwrEvtHandle window;
        ASSERT_TRUE(window.InitPwrEvtHandler(&Remember));
        window.DeInitPwrEvtHandler();
        machine->ClearFaults();
    }
    FailThreadStart(1);
    CWinPwrEvtHandle window;
    EXPECT_THROW(window.InitPwrEvtHandler(&Remember), std::system_error);
    EXPECT_TRUE(window.InitPwrEvtHandler(&Remember));
}

} // namespace
