/// Bring-up under failures of threads and memory.

#include "CZVNSrvcMgnt.h"

#include "Faults.h"
#include "Hosting.h"

#include <gtest/gtest.h>

#include <new>
#include <system_error>

namespace
{

TEST(BringUp, AFailedServiceThreadIsReportedAndTheNextCallTriesAgain)
{
    std::shared_ptr<CDeviceManagerIntf> manager;
    FailThreadStart(1);
    EXPECT_THROW(CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP), std::system_error);
    EXPECT_EQ(g_pSrvcMgnt.Get(), nullptr);
    EXPECT_EQ(CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP), ZV_SRVC_SUCCESS);
}

TEST(BringUp, AFailedManagerThreadLeavesTheServiceUp)
{
    for (int nth = 2; nth <= 4; ++nth)
    {
        std::shared_ptr<CDeviceManagerIntf> manager;
        FailThreadStart(g_pSrvcMgnt.Get() == nullptr ? nth : nth - 1);
        EXPECT_THROW(CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP), std::system_error) << nth;
        EXPECT_EQ(manager, nullptr);
        EXPECT_NE(g_pSrvcMgnt.Get(), nullptr);
    }
    EXPECT_NE(MakeManager(), nullptr);
}

/// @return false when the call ran out of memory at its `nth` allocation.
bool MakesManagerDespite(int nth, std::shared_ptr<CDeviceManagerIntf>& manager)
{
    FailAllocation(nth);
    try
    {
        const unsigned int status = CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP);
        FailAllocation(0);
        EXPECT_EQ(status, ZV_SRVC_SUCCESS);
        return true;
    }
    catch (const std::bad_alloc&)
    {
        EXPECT_EQ(manager, nullptr);
        return false;
    }
}

TEST(BringUp, EveryAllocationMayFailOnceAndALaterCallSucceeds)
{
    // Wherever memory runs out, the call fails cleanly and the service is built at most once.
    std::shared_ptr<CDeviceManagerIntf> manager;
    int failures = 0;
    for (const CZVNSrvcMgnt* service = nullptr; !MakesManagerDespite(failures + 1, manager); ++failures)
    {
        EXPECT_TRUE(service == nullptr || g_pSrvcMgnt.Get() == service);
        service = g_pSrvcMgnt.Get();
    }
    EXPECT_GT(failures, 10);
    Platform::ScopedMachine machine;
    machine->AddAdapter(GivenAdapter("{a}", "zvwlanu"));
    EXPECT_EQ(List(*manager, "ZV_USB").Records.size(), 1U);
}

} // namespace
