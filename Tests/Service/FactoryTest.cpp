#include "CUWPDevice.h"
#include "CUWPDeviceManager.h"
#include "CZVNSrvcMgnt.h"

#include "Hosting.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>

namespace
{

constexpr std::uint32_t Types[] = {0, 1, 0x10000, 0x10001, 0x10002, 0x20000, 0x20001, 0x20002, 0x20003, 0xFFFFFFFF};

/// Calls an entry point with every type; `made` is the one that it makes.
template <class Interface, class Class>
void ExpectMakesOnly(std::uint32_t made)
{
    for (const std::uint32_t type : Types)
    {
        const auto before = std::static_pointer_cast<Interface>(std::make_shared<Class>());
        std::shared_ptr<Interface> module = before;
        const unsigned int status = CreateZVModule(module, static_cast<_ZV_SRVC_INTERFACE_TYPE>(type));
        EXPECT_EQ(status, type == made ? ZV_SRVC_SUCCESS : ZV_SRVC_ERR_INTERFACE_TYPE) << std::hex << type;
        EXPECT_EQ(module == before, type != made) << std::hex << type;
        EXPECT_EQ(before.use_count(), type == made ? 1 : 2) << std::hex << type;
        EXPECT_NE(g_pSrvcMgnt.Get(), nullptr) << "brought up whatever the type";
    }
}

TEST(Factory, TheDeviceEntryPointCreatesOnlyDevices)
{
    ExpectMakesOnly<CDeviceIntf, CUWPDevice>(ZV_SRVC_DEVICE_UWP);
}

TEST(Factory, TheManagerEntryPointCreatesOnlyManagers)
{
    ExpectMakesOnly<CDeviceManagerIntf, CUWPDeviceManager>(ZV_SRVC_DEVICE_MANAGER_UWP);
}

TEST(Factory, AnUnsupportedTypeInTheFirstCallStartsTheService)
{
    std::shared_ptr<CDeviceIntf> device;
    EXPECT_EQ(CreateZVModule(device, ZV_SRVC_DEVICE_BASE), ZV_SRVC_ERR_INTERFACE_TYPE);
    const CZVNSrvcMgnt* service = g_pSrvcMgnt.Get();
    ASSERT_NE(service, nullptr);
    EXPECT_EQ(CreateZVModule(device, ZV_SRVC_DEVICE_UWP), ZV_SRVC_SUCCESS);
    EXPECT_EQ(g_pSrvcMgnt.Get(), service);
}

TEST(Factory, ConcurrentFirstCallsGetOneService)
{
    std::latch start(8);
    std::atomic<CZVNSrvcMgnt*> seen[8]{};
    {
        std::vector<std::jthread> hosts;
        for (auto& mine : seen)
            hosts.emplace_back([&] {
                std::shared_ptr<CDeviceManagerIntf> manager;
                start.arrive_and_wait();
                EXPECT_EQ(CreateZVModule(manager, ZV_SRVC_DEVICE_MANAGER_UWP), ZV_SRVC_SUCCESS);
                mine = g_pSrvcMgnt.Get();
            });
    }
    for (const auto& service : seen)
        EXPECT_EQ(service, seen[0]);
}

TEST(Factory, AManagerOutlivesTheHostsPointerAndADeviceDoesNot)
{
    std::weak_ptr<CDeviceManagerIntf> manager = MakeManager();
    EXPECT_FALSE(manager.expired());
    std::shared_ptr<CDeviceIntf> device;
    CreateZVModule(device, ZV_SRVC_DEVICE_UWP);
    const std::weak_ptr<CDeviceIntf> watched = device;
    device.reset();
    EXPECT_TRUE(watched.expired());
}

} // namespace
