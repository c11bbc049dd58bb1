/// Bring-up under failures of threads and memory.

#include "CWinPwrEvtHandle.h"
#include "CZVNSrvcMgnt.h"

#include "EventClient.h"
#include "Faults.h"
#include "Hosting.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <system_error>
#include <thread>

namespace
{

/// @return false when the `nth` allocation of the call failed, whether or not the call could do without.
bool MakesManagerDespite(int nth, std::shared_ptr<CDeviceManagerIntf>& manager)
{
    FailAllocation(nth);
    try
    {
        const unsigned int status = CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP);
        EXPECT_EQ(status, ZV_SRVC_SUCCESS);
        if (FailAllocation(0) > 0)
            return true;
        manager.reset();
        return false;
    }
    catch (const std::bad_alloc&)
    {
        EXPECT_EQ(manager, nullptr);
        return false;
    }
}

TEST(BringUp, TheFactoryReturnsAManagerOnlyIfItReceivesEvents)
{
    MakeManager();
    CWinPwrEvtHandle::AwaitWindow();
    std::shared_ptr<CDeviceManagerIntf> manager;
    int failures = 0;
    while (!MakesManagerDespite(failures + 1, manager))
        ++failures;
    EXPECT_GT(failures, 10);
    EventClient* const client = MakeClient(*manager);
    // A message that cannot be queued is lost, but the exit of this process must not wait for it.
    FailAllocation(1);
    EXPECT_THROW(PwrEvtWndProc(nullptr, 0x218, 4, 0), std::bad_alloc);
    PwrEvtWndProc(nullptr, 0x218, 7, 0);
    EXPECT_TRUE(client->TakeUntil(ZV_EVT_SYSTEM_RESUME).empty());
}

/// Starts the first factory call on another thread, whose second thread start, that of the event
/// window, takes a while; returns when the service object exists.
void BeginSlowBringUp()
{
    DelayThreadStart(3, 300); // This thread is the first.
    std::thread([] { MakeManager(); }).detach();
    while (g_pSrvcMgnt.Get() == nullptr)
        std::this_thread::yield();
}

TEST(BringUp, OtherCallersWaitForTheEventWindow)
{
    // Including a thread whose own bring-up has failed.
    std::shared_ptr<CDeviceManagerIntf> manager;
    FailThreadStart(1);
    EXPECT_THROW(CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP), std::system_error);
    BeginSlowBringUp();
    MakeManager();
    CWinPwrEvtHandle::AwaitWindow();
    EXPECT_EQ(Platform::CountOpenObjects().Windows, 1U);
}

TEST(BringUpDeathTest, TheProcessMayExitDuringTheFirstCall)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto exitDuringBringUp = [] {
        LingerAtExit(600); // So that the other thread continues after the destructors.
        BeginSlowBringUp();
        std::exit(7);
    };
    EXPECT_EXIT(exitDuringBringUp(), testing::ExitedWithCode(7), "");
}

} // namespace
