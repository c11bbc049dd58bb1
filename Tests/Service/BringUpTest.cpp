/// The factory, and the service that its first call starts.

#include "CWinPwrEvtHandle.h"
#include "CZVNSrvcMgnt.h"

#include "EventClient.h"
#include "Faults.h"
#include "Hosting.h"

#include "ZVTraceMessages.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <latch>
#include <new>
#include <thread>

namespace
{

/// Calls an entry point with every type; `made` is the only one that it creates.
template <class Interface>
void ExpectCreatesOnly(_ZV_SRVC_INTERFACE_TYPE made)
{
    std::shared_ptr<Interface> before;
    EXPECT_EQ(CreateZVModule(before, made), ZV_SRVC_SUCCESS);
    const long uses = before.use_count();
    for (const std::uint32_t type :
         {0U, 1U, 0x10000U, 0x10001U, 0x10002U, 0x20000U, 0x20001U, 0x20002U, 0x20003U, 0xFFFFFFFFU})
    {
        std::shared_ptr<Interface> module = before;
        const unsigned int status = CreateZVModule(module, static_cast<_ZV_SRVC_INTERFACE_TYPE>(type));
        EXPECT_EQ(status, type == made ? ZV_SRVC_SUCCESS : ZV_SRVC_ERR_INTERFACE_TYPE) << std::hex << type;
        EXPECT_EQ(module == before, type != made) << std::hex << type;
        EXPECT_EQ(before.use_count(), type == made ? uses : uses + 1) << std::hex << type;
    }
}

TEST(Factory, EachEntryPointCreatesOnlyItsType)
{
    std::shared_ptr<CDeviceIntf> device;
    EXPECT_EQ(CreateZVModule(device, ZV_SRVC_DEVICE_BASE), ZV_SRVC_ERR_INTERFACE_TYPE);
    const CZVNSrvcMgnt* service = g_pSrvcMgnt.Get();
    EXPECT_NE(service, nullptr) << "an unsupported type starts the service too";
    ExpectCreatesOnly<CDeviceIntf>(ZV_SRVC_DEVICE_UWP);
    ExpectCreatesOnly<CDeviceManagerIntf>(ZV_SRVC_DEVICE_MANAGER_UWP);
    EXPECT_EQ(g_pSrvcMgnt.Get(), service);
}

TEST(Factory, ConcurrentFirstCallsGetOneServiceWithItsWindow)
{
    DelayThreadStart(10, 300); // The event window's: eight hosts come first, then the service's thread.
    std::latch start(8);
    CZVNSrvcMgnt* seen[8]{};
    {
        std::vector<std::jthread> hosts;
        for (auto& mine : seen)
            hosts.emplace_back([&] {
                start.arrive_and_wait();
                MakeManager();
                CWinPwrEvtHandle::AwaitWindow();
                EXPECT_EQ(Platform::CountOpenObjects().Windows, 1U);
                mine = g_pSrvcMgnt.Get();
            });
    }
    for (const auto* service : seen)
        EXPECT_EQ(service, seen[0]);
}

TEST(BringUp, AMessageThatCannotBeQueuedDoesNotHoldUpTheExit)
{
    EventClient* const client = MakeClient(*MakeManager());
    FailAllocation(1);
    EXPECT_THROW(PwrEvtWndProc(nullptr, 0x218, 4, 0), std::bad_alloc);
    PwrEvtWndProc(nullptr, 0x218, 7, 0);
    EXPECT_TRUE(client->TakeUntil(ZV_EVT_SYSTEM_RESUME).empty());
}

TEST(BringUp, AThreadWhoseOwnCallFailedWaitsForAnotherFirstCall)
{
    std::shared_ptr<CDeviceManagerIntf> manager;
    FailThreadStart(1);
    EXPECT_THROW(CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP), std::system_error);
    DelayThreadStart(3, 300); // The event window's: this thread's, and the service's, come first.
    std::thread([] { MakeManager(); }).detach();
    while (g_pSrvcMgnt.Get() == nullptr)
        std::this_thread::yield();
    MakeManager();
    CWinPwrEvtHandle::AwaitWindow();
    EXPECT_EQ(Platform::CountOpenObjects().Windows, 1U);
}

TEST(BringUpDeathTest, TheProcessMayExitDuringTheFirstCall)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto exitDuringBringUp = [] {
        LingerAtExit(600);        // So that the other thread continues after the destructors.
        DelayThreadStart(3, 300); // The event window's: this thread's, and the service's, come first.
        std::thread([] { MakeManager(); }).detach();
        while (g_pSrvcMgnt.Get() == nullptr)
            std::this_thread::yield();
        std::exit(7);
    };
    EXPECT_EXIT(exitDuringBringUp(), testing::ExitedWithCode(7), "");
}

TEST(BringUpDeathTest, TheThreadOfTheFirstCallDestroysTheServiceWhenItExits)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto exitAfterBringUp = [] {
        constexpr std::uint16_t stopping =
            ZV_TRACE_MESSAGES[static_cast<std::size_t>(ZVTracePoint::ServiceStopping)].Number;
        const auto end = [](const Platform::TraceRecord& record) {
            if (record.Number == stopping)
                std::_Exit(7);
        };
        static const Platform::TraceSession& session [[maybe_unused]] =
            *new Platform::TraceSession(&ZV_TRACE_PROVIDER, 4, TRACE_FLAG_SERVICE, end); // Outlives the exit routine.
        MakeManager();
        std::exit(1);
    };
    EXPECT_EXIT(exitAfterBringUp(), testing::ExitedWithCode(7), "");
}

} // namespace
