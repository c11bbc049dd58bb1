/// From the window's messages to the clients of both lists.

#include "EventFixture.h"

#include <map>
#include <semaphore>

namespace
{

using Events = std::vector<std::uint32_t>;

class Routing : public EventTest
{
protected:
    Routing() { Relist(); }

    void SetPresent(bool present)
    {
        Machine->ChangeAdapter(Adapter, [present](auto& adapter) { adapter.Present = present; });
    }

    Platform::AdapterId Adapter = Add("{dev}");
};

TEST_F(Routing, OnlyMessagesOfTheTableHaveAnEffect)
{
    const std::map<std::pair<std::uint32_t, std::uint64_t>, std::uint32_t> table = {
        {{0x218, 0}, ZV_EVT_SYSTEM_SUSPEND},
        {{0x218, 1}, ZV_EVT_SYSTEM_SUSPEND},
        {{0x218, 4}, ZV_EVT_SYSTEM_SUSPEND},
        {{0x218, 5}, ZV_EVT_SYSTEM_SUSPEND},
        {{0x218, 6}, ZV_EVT_SYSTEM_RESUME},
        {{0x218, 7}, ZV_EVT_SYSTEM_RESUME},
        {{0x218, 8}, ZV_EVT_SYSTEM_RESUME},
        {{0x218, 18}, ZV_EVT_SYSTEM_RESUME},
        {{0x219, 0x8000}, ZV_EVT_DEVICE_ARRIVED},
        {{0x219, 0x8001}, ZV_EVT_DEVICE_STATUS_CHANGED},
        {{0x219, 0x8003}, ZV_EVT_DEVICE_STATUS_CHANGED},
        {{0x219, 0x8004}, ZV_EVT_DEVICE_STATUS_CHANGED},
    };
    std::vector<std::uint64_t> parameters = {0x7FFF, 0x1'0000'0004, 0x1'0000'8000, 0x1'0000'8004};
    for (std::uint64_t i = 0; i < 32; ++i)
        parameters.insert(parameters.end(), {i, 0x8000 + i});
    for (const std::uint32_t message : {0x1U, 0x12U, 0x217U, 0x218U, 0x219U, 0x21AU})
        for (const std::uint64_t parameter : parameters)
        {
            SCOPED_TRACE(testing::Message() << std::hex << message << ' ' << parameter);
            const auto row = table.find({message, parameter});
            const std::uint32_t event = row == table.end() ? 0 : row->second;
            // Something to find for each side that may look.
            const bool arrives = event == ZV_EVT_DEVICE_ARRIVED;
            if (arrives || event == ZV_EVT_DEVICE_STATUS_CHANGED)
            {
                SetPresent(!arrives);
                Send(arrives ? 0x8004 : 0x8000);
                SetPresent(arrives);
            }
            Machine->Broadcast(message, parameter);
            EXPECT_EQ(Settle(event == ZV_EVT_SYSTEM_SUSPEND ? ZV_EVT_SYSTEM_RESUME : ZV_EVT_SYSTEM_SUSPEND),
                      event == 0 ? Events() : Events{event});
        }
}

TEST_F(Routing, MachineEventsReachClientsAndOpenDevices)
{
    const _ZV_SRVC_DEVICE_INFO record = Listed();
    std::shared_ptr<CDeviceIntf> device;
    ASSERT_EQ(Manager->OpenDevice(&record, ZV_SRVC_DEVICE_UWP, device), ZV_SRVC_SUCCESS);
    const std::uint32_t changed = ZV_EVT_DEVICE_STATUS_CHANGED;
    const std::uint32_t arrived = ZV_EVT_DEVICE_ARRIVED;
    const std::uint32_t resume = ZV_EVT_SYSTEM_RESUME;
    const struct
    {
        const char* Name;
        std::function<void()> Verb;
        Events Told;
        std::uint32_t Flags;
        bool Usable;
    } rows[] = {
        {"unplug", [&] { Machine->Unplug(Adapter); }, {changed}, 0x4, false},
        {"unplug again", [&] { Machine->Unplug(Adapter); }, {}, 0x4, false},
        {"plug", [&] { Machine->Plug(Adapter); }, {arrived}, 0, true},
        {"fail", [&] { Machine->SetProblem(Adapter, 10); }, {changed}, 0x5, false},
        {"recover", [&] { Machine->SetProblem(Adapter, 0); }, {arrived}, 0x1, false},
        {"sweep", [&] { Machine->Broadcast(0x219, 0x8001); }, {changed}, 0, true},
        {"resume", [&] { Machine->Resume(); }, {resume, resume}, 0, true},
        {"uninstall", [&] { Machine->Uninstall(Adapter); }, {changed}, 0x4, false},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.Name);
        row.Verb();
        EXPECT_EQ(Settle(), row.Told);
        EXPECT_EQ(Listed().StateFlags & 0xFU, row.Flags);
        std::uint8_t item[4] = {};
        EXPECT_EQ(device->SetQueryInfo(1, 0x10, item, sizeof item),
                  row.Usable ? ZV_SRVC_SUCCESS : ZV_SRVC_ERR_DEVICE_NOT_OPEN);
    }
}

TEST_F(Routing, AnUninstalledDriverStaysMarkedWhenItsAdapterComesBack)
{
    Machine->Uninstall(Adapter);
    Client->TakeUntil(ZV_EVT_DRIVER_UNINSTALLED);
    Settle(); // The sweep's own event has no order against the watcher's.
    EXPECT_EQ(Listed().StateFlags, ZV_DEV_ABSENT | ZV_DEV_DRIVER_UNINSTALLED);
    Machine->Plug(Adapter);
    EXPECT_EQ(Settle(), Events{ZV_EVT_DEVICE_ARRIVED});
    EXPECT_EQ(Listed().StateFlags, ZV_DEV_DRIVER_UNINSTALLED);
    Relist();
    EXPECT_EQ(Listed().StateFlags, 0U);
}

TEST_F(Routing, ASlowClientDelaysOnlyItsList)
{
    std::binary_semaphore entered{0};
    std::binary_semaphore leave{0};
    auto* const slow = MakeClient(*Manager);
    slow->InCallback = [&, first = true](std::uint32_t) mutable {
        if (!std::exchange(first, false))
            return;
        entered.release();
        leave.acquire();
    };
    auto* const other = MakeClient(*Manager, ZV_INFO_REQ_MAGIC);
    Machine->Unplug(Adapter);
    entered.acquire();
    const std::uint32_t changed = ZV_EVT_DEVICE_STATUS_CHANGED;
    const std::uint32_t arrived = ZV_EVT_DEVICE_ARRIVED;
    EXPECT_EQ(other->TakeUntil(changed), Events());
    for (int i = 0; i < 3; ++i) // sweeps, merges and a watcher's disposal go on
    {
        Machine->Plug(Adapter);
        EXPECT_EQ(other->TakeUntil(arrived), Events());
        EXPECT_EQ(Listed().StateFlags, 0U);
        Machine->Unplug(Adapter);
        EXPECT_EQ(other->TakeUntil(changed), Events());
    }
    Machine->Suspend();
    leave.release();
    EXPECT_EQ(slow->TakeUntil(ZV_EVT_SYSTEM_SUSPEND), // late, whole and in order
              (Events{changed, arrived, changed, arrived, changed, arrived, changed}));
}

/// Clients of one list that change the list while they are called.
TEST_F(Routing, CallbacksMayRegisterAndDeregisterClients)
{
    auto* const leaving = MakeClient(*Manager);
    auto* const removed = MakeClient(*Manager);
    auto* const last = MakeClient(*Manager);
    EventClient* late = nullptr;
    leaving->InCallback = [&](std::uint32_t) {
        EXPECT_EQ(Manager->DeRegisterNotification(&leaving->Record), ZV_SRVC_SUCCESS);
        EXPECT_EQ(Manager->DeRegisterNotification(&leaving->Record), ZV_SRVC_ERR_INVALID_PARAMETER);
        EXPECT_EQ(Manager->DeRegisterNotification(&removed->Record), ZV_SRVC_SUCCESS);
        late = MakeClient(*Manager);
    };
    removed->InCallback = [](std::uint32_t) { ADD_FAILURE() << "called after its removal"; };
    Machine->Broadcast(0x218, 7);
    Machine->Suspend();
    EXPECT_EQ(last->TakeUntil(ZV_EVT_SYSTEM_SUSPEND), Events{ZV_EVT_SYSTEM_RESUME});
    EXPECT_EQ(leaving->TakeUntil(ZV_EVT_SYSTEM_RESUME), Events());
    EXPECT_EQ(late->TakeUntil(ZV_EVT_SYSTEM_SUSPEND), Events()); // begins with the next event
    EXPECT_EQ(Manager->RegisterNotification(nullptr), ZV_SRVC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Manager->DeRegisterNotification(nullptr), ZV_SRVC_ERR_INVALID_PARAMETER);
}

} // namespace
