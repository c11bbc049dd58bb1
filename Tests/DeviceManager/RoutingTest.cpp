/// From the window's messages to the clients of both lists.

#include "AdapterFixture.h"

#include <map>
#include <semaphore>

namespace
{

constexpr std::uint32_t StatusEvent = ZV_EVT_DEVICE_STATUS_CHANGED;
constexpr std::uint32_t ArrivalEvent = ZV_EVT_DEVICE_ARRIVED;
constexpr std::uint32_t ResumeEvent = ZV_EVT_SYSTEM_RESUME;
constexpr std::uint32_t SuspendEvent = ZV_EVT_SYSTEM_SUSPEND;

class Routing : public AdapterTest
{
protected:
    Routing() { Relist(); }
};

TEST_F(Routing, OnlyMessagesOfTheTableHaveAnEffect)
{
    const std::map<std::pair<std::uint32_t, std::uint64_t>, std::uint32_t> table = {
        {{0x218, 0}, SuspendEvent},     {{0x218, 1}, SuspendEvent},     {{0x218, 4}, SuspendEvent},
        {{0x218, 5}, SuspendEvent},     {{0x218, 6}, ResumeEvent},      {{0x218, 7}, ResumeEvent},
        {{0x218, 8}, ResumeEvent},      {{0x218, 18}, ResumeEvent},     {{0x219, 0x8000}, ArrivalEvent},
        {{0x219, 0x8001}, StatusEvent}, {{0x219, 0x8003}, StatusEvent}, {{0x219, 0x8004}, StatusEvent},
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
            // A change that a sweep or a merge finds.
            const bool arrives = event == ArrivalEvent;
            if (arrives || event == StatusEvent)
            {
                SetPresent(!arrives);
                Send(arrives ? RemoveComplete : Arrival);
                SetPresent(arrives);
            }
            Machine->Broadcast(message, parameter);
            EXPECT_EQ(Settle(event == SuspendEvent ? ResumeEvent : SuspendEvent),
                      event == 0 ? Events() : Events{event});
        }
}

TEST_F(Routing, MachineEventsReachClientsAndOpenDevices)
{
    const std::shared_ptr<CDeviceIntf> device = Open();
    const struct
    {
        const char* Name;
        std::function<void()> Verb;
        Events Told;
        std::uint32_t Flags;
        bool Usable;
    } rows[] = {
        {"unplug", [&] { Machine->Unplug(Adapter); }, StatusChanged, Absent, false},
        {"unplug again", [&] { Machine->Unplug(Adapter); }, {}, Absent, false},
        {"plug", [&] { Machine->Plug(Adapter); }, Arrived, 0, true},
        {"fail", [&] { Machine->SetProblem(Adapter, 10); }, StatusChanged, Problem | Absent, false},
        {"recover", [&] { Machine->SetProblem(Adapter, 0); }, Arrived, Problem, false},
        {"sweep", [&] { Machine->Broadcast(WmDeviceChange, 0x8001); }, StatusChanged, 0, true},
        {"resume", [&] { Machine->Resume(); }, {ResumeEvent, ResumeEvent}, 0, true},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.Name);
        row.Verb();
        EXPECT_EQ(Settle(), row.Told);
        EXPECT_EQ(Listed().StateFlags, row.Flags);
        std::uint8_t item[4] = {};
        EXPECT_EQ(device->SetQueryInfo(1, 0x10, item, sizeof item),
                  row.Usable ? ZV_SRVC_SUCCESS : ZV_SRVC_ERR_DEVICE_NOT_OPEN);
    }
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
    EXPECT_EQ(other->TakeUntil(StatusEvent), Events());
    for (int i = 0; i < 3; ++i) // Sweeps, merges and the disposal of watchers continue.
    {
        Machine->Plug(Adapter);
        EXPECT_EQ(other->TakeUntil(ArrivalEvent), Events());
        EXPECT_EQ(Listed().StateFlags, 0U);
        Machine->Unplug(Adapter);
        EXPECT_EQ(other->TakeUntil(StatusEvent), Events());
    }
    Machine->Suspend();
    leave.release();
    EXPECT_EQ(slow->TakeUntil(SuspendEvent), // late, whole and in order
              (Events{StatusEvent, ArrivalEvent, StatusEvent, ArrivalEvent, StatusEvent, ArrivalEvent, StatusEvent}));
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
    Machine->Broadcast(WmPowerBroadcast, 7);
    Machine->Suspend();
    EXPECT_EQ(last->TakeUntil(SuspendEvent), Events{ResumeEvent});
    EXPECT_EQ(leaving->TakeUntil(ResumeEvent), Events());
    EXPECT_EQ(late->TakeUntil(SuspendEvent), Events()); // begins with the next event
    EXPECT_EQ(Manager->RegisterNotification(nullptr), ZV_SRVC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Manager->DeRegisterNotification(nullptr), ZV_SRVC_ERR_INVALID_PARAMETER);
}

} // namespace
