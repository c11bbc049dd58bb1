/// From a message of the simulated driver to the clients of both lists.

#include "Hosting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <dlfcn.h>
#include <filesystem>
#include <mutex>
#include <semaphore>

namespace
{

/// What all clients of a test heard, in order.
struct Log
{
    std::mutex Mutex;
    std::vector<std::pair<int, std::uint32_t>> Heard; ///< Guarded by Mutex.
    std::counting_semaphore<> More{0};

    std::vector<std::pair<int, std::uint32_t>> Take(int count)
    {
        for (int i = 0; i < count; ++i)
            More.acquire();
        const std::lock_guard lock(Mutex);
        return std::exchange(Heard, {});
    }
};

struct Client
{
    Log& To;
    int Id;
    _ZV_WLAN_NOTIFY_HDLR Record;

    Client(Log& to, int id, std::uint32_t type) : To(to), Id(id), Record{&Client::Hear, this, 77, type} {}

    static void Hear(void* context, std::uint32_t event, const _ZV_WLAN_NOTIFY_DATA* data)
    {
        Client& self = *static_cast<Client*>(context);
        EXPECT_EQ(data->Reserved, 0U);
        EXPECT_EQ(data->PayloadLength, 4U);
        EXPECT_EQ(std::memcmp(data->Payload, "\0\0\0", 4), 0);
        const std::lock_guard lock(self.To.Mutex);
        self.To.Heard.emplace_back(self.Id, event);
        self.To.More.release();
    }
};

class EventDelivery : public testing::Test
{
protected:
    EventDelivery()
    {
        std::filesystem::current_path(ZV_TEST_DRIVERS "/all");
        Manager = MakeManager();
        void* driver = dlopen(ZV_TEST_DRIVERS "/all/VirtualDriver_UWP.dll", RTLD_NOW | RTLD_NOLOAD);
        Deliver = reinterpret_cast<std::intptr_t (*)(unsigned, std::uint64_t)>(dlsym(driver, "TestDeliver"));
        dlclose(driver);
    }

    Log Events;
    std::shared_ptr<CDeviceManagerIntf> Manager;
    std::intptr_t (*Deliver)(unsigned, std::uint64_t) = nullptr;
};

TEST_F(EventDelivery, EachPowerMessageBecomesItsEventAndTheRestNone)
{
    Client client(Events, 1, 0);
    Manager->RegisterNotification(&client.Record);
    const std::uint32_t suspend = ZV_EVT_SYSTEM_SUSPEND;
    const std::uint32_t resume = ZV_EVT_SYSTEM_RESUME;
    for (std::uint64_t wParam = 0; wParam < 32; ++wParam)
        EXPECT_EQ(Deliver(0x218, wParam), 1);
    for (const unsigned message : {0U, 18U, 0x217U, 0x21AU})
        Deliver(message, 4);
    Deliver(0x218, 0x1'0000'0004); // The whole number counts, not its low half.
    Deliver(0x218, 18);
    std::vector<std::pair<int, std::uint32_t>> expected;
    for (const std::uint32_t event : {suspend, suspend, suspend, suspend, resume, resume, resume, resume, resume})
        expected.emplace_back(1, event);
    EXPECT_EQ(Events.Take(9), expected);
}

TEST_F(EventDelivery, ClientsOfAListHearInTheirOrderUntilTheyDeregister)
{
    Client first(Events, 1, 0);
    Client second(Events, 2, 5);
    _ZV_WLAN_NOTIFY_HDLR silent{nullptr, nullptr, 0, 0};
    EXPECT_EQ(Manager->RegisterNotification(&first.Record), ZV_SRVC_SUCCESS);
    EXPECT_EQ(Manager->RegisterNotification(&silent), ZV_SRVC_SUCCESS);
    EXPECT_EQ(Manager->RegisterNotification(&second.Record), ZV_SRVC_SUCCESS);
    EXPECT_EQ(first.Record.ClientId, 1U);
    EXPECT_EQ(second.Record.ClientId, 3U);
    Deliver(0x218, 4);
    EXPECT_EQ(Events.Take(2), (std::vector<std::pair<int, std::uint32_t>>{{1, 0x10003}, {2, 0x10003}}));

    _ZV_WLAN_NOTIFY_HDLR otherList = first.Record;
    otherList.ClientType = ZV_INFO_REQ_MAGIC;
    EXPECT_EQ(Manager->DeRegisterNotification(&otherList), ZV_SRVC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Manager->DeRegisterNotification(&first.Record), ZV_SRVC_SUCCESS);
    EXPECT_EQ(Manager->DeRegisterNotification(&first.Record), ZV_SRVC_ERR_INVALID_PARAMETER);
    Deliver(0x218, 7);
    EXPECT_EQ(Events.Take(1), (std::vector<std::pair<int, std::uint32_t>>{{2, 0x10004}}));
}

TEST_F(EventDelivery, BothListsAndBothManagersHearAndADroppedManagerGoesOn)
{
    Client user(Events, 1, 0);
    Client zv(Events, 2, ZV_INFO_REQ_MAGIC);
    Client other(Events, 3, 0);
    Manager->RegisterNotification(&user.Record);
    Manager->RegisterNotification(&zv.Record);
    MakeManager()->RegisterNotification(&other.Record);
    EXPECT_EQ(other.Record.ClientId, 1U);
    Manager.reset();
    Deliver(0x218, 4);
    auto heard = Events.Take(3);
    std::ranges::sort(heard);
    EXPECT_EQ(heard, (std::vector<std::pair<int, std::uint32_t>>{{1, 0x10003}, {2, 0x10003}, {3, 0x10003}}));
}

} // namespace
