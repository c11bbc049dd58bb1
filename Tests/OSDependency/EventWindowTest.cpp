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

TEST(EventWindow, ReceivesMessagesFromItsCreationToTheStopMessage)
{
    Platform::ScopedMachine machine;
    CWinPwrEvtHandle window;
    FailThreadStart(1);
    EXPECT_THROW(window.InitPwrEvtHandler(&Remember), std::system_error);
    EXPECT_TRUE(window.InitPwrEvtHandler(&Remember));
    EXPECT_FALSE(window.InitPwrEvtHandler(nullptr));
    CWinPwrEvtHandle::AwaitWindow();
    machine->Broadcast(0x219, 7);
    machine->Suspend();
    window.DeInitPwrEvtHandler();
    window.DeInitPwrEvtHandler();
    EXPECT_EQ(machine->Calls("SendMessageW"), 1U);
    EXPECT_EQ(messages,
              (std::vector<std::uint32_t>{WM_GETMINMAXINFO, WM_NCCREATE, WM_NCCALCSIZE, WM_CREATE, 0x219, 0x218, 18}));
}

} // namespace
