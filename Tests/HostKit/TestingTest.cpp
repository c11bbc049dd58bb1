// The simulated computer for the tests of hosts.
#include <HostKit/HostKit.h>
#include <HostKit/Testing.h>

#include <gtest/gtest.h>

#include <latch>
#include <thread>

namespace
{

using namespace std::chrono_literals;

using HostKit::TestAdapter;

class TestingTest : public testing::Test
{
protected:
    HostKit::TestMachine Machine;
    TestAdapter Adapter = Machine.Add({.Identity = "{test}"});
    std::shared_ptr<CDeviceManagerIntf> Manager = HostKit::CreateManager();
    HostKit::Device Device = HostKit::OpenDevice(*Manager, HostKit::ListAdapters(*Manager).at(0));
};

/// The first arrival clears the adapter's absence, the second one its problem.
void Recover(const TestAdapter& adapter)
{
    adapter.SetProblem(0);
    Platform::CurrentMachine()->Broadcast(0x219, 0x8000);
}

TEST_F(TestingTest, VerbsChangeWhatARequestReturns)
{
    const struct
    {
        const char* Name;
        void (*Break)(const TestAdapter&);
        void (*Repair)(const TestAdapter&);
        unsigned int Status;
    } cases[] = {
        {"slow", [](const TestAdapter& a) { a.Slow(1h); }, [](const TestAdapter& a) { a.Slow(1ms); }, 1},
        {"hang", [](const TestAdapter& a) { a.Hang(); }, [](const TestAdapter& a) { a.Hang(false); }, 1},
        {"refuse", [](const TestAdapter& a) { a.Refuse(31); }, [](const TestAdapter& a) { a.Refuse(0); }, 1},
        {"no open", [](const TestAdapter& a) { a.RefuseOpen(); }, [](const TestAdapter& a) { a.BehaveNormally(); }, 1},
        {"unplug", [](const TestAdapter& a) { a.Unplug(); }, [](const TestAdapter& a) { a.Plug(); }, 14},
        {"problem", [](const TestAdapter& a) { a.SetProblem(10); }, &Recover, 14},
        {"disable", [](const TestAdapter& a) { a.Disable(); }, &Recover, 14},
    };
    const HostKit::Request request{.Code = 0x222000, .Input = {1, 2}, .OutputSize = 2, .Timeout = 20ms};
    for (const auto& row : cases)
    {
        Adapter.BehaveNormally();
        row.Break(Adapter);
        ASSERT_TRUE(Machine.WaitUntilIdle()) << row.Name;
        EXPECT_EQ(Device.Send(request).Error, HostKit::MakeError(row.Status)) << row.Name;
        row.Repair(Adapter);
        ASSERT_TRUE(Machine.WaitUntilIdle()) << row.Name;
        HostKit::Request patient = request;
        patient.Timeout = 30s;
        EXPECT_EQ(Device.Send(patient).Value(), request.Input) << row.Name;
    }
}

/// What the library does in response to a message is complete, so nothing here waits for an event.
TEST_F(TestingTest, TheEffectsOfAnEventAreCompleteWhenTheLibraryIsIdle)
{
    HostKit::EventQueue events(Manager);
    for (int round = 0; round < 5; ++round)
    {
        Adapter.Unplug();
        ASSERT_TRUE(Machine.WaitUntilIdle());
        EXPECT_EQ(events.TryNext(), ZV_EVT_DEVICE_STATUS_CHANGED);
        Adapter.Plug();
        ASSERT_TRUE(Machine.WaitUntilIdle());
        EXPECT_EQ(events.TryNext(), ZV_EVT_DEVICE_ARRIVED);
        EXPECT_EQ(events.TryNext(), std::nullopt);
    }
    Machine.Suspend();
    Machine.Resume();
    ASSERT_TRUE(Machine.WaitUntilIdle());
    EXPECT_EQ(events.WaitFor(ZV_EVT_SYSTEM_RESUME, 0ms), std::vector{ZV_EVT_SYSTEM_SUSPEND});
    Adapter.Uninstall();
    ASSERT_TRUE(Machine.WaitUntilIdle(30s, 100ms)); // with the check for an uninstallation
    EXPECT_TRUE(events.WaitFor(ZV_EVT_DRIVER_UNINSTALLED, 0ms));
}

TEST_F(TestingTest, IsNotIdleWhileARequestOrACallIsUnderWay)
{
    Adapter.Hang();
    auto future = Device.SendAsync({.Code = 0x222000, .Timeout = 1h});
    EXPECT_FALSE(Machine.WaitUntilIdle(50ms));
    Adapter.Unplug();
    future.get();
    EXPECT_TRUE(Machine.WaitUntilIdle());

    std::latch entered(1);
    std::latch leave(1);
    Machine->OnCall("SetupDiGetClassDevsW", [&] {
        entered.count_down();
        leave.wait();
    });
    std::jthread lists([&] { HostKit::ListAdapters(*Manager, {.Services = "ZV_SDIO"}); });
    entered.wait();
    EXPECT_FALSE(Machine.WaitUntilIdle(50ms));
    leave.count_down();
    lists.join();
    EXPECT_TRUE(Machine.WaitUntilIdle());
}

TEST_F(TestingTest, FailsCallsAndRejectsMistakesOfTheTest)
{
    Machine.FailCall("SetupDiGetClassDevsW", 5, 2);
    EXPECT_TRUE(HostKit::ListAdapters(*Manager, {.Services = "ZV_SDIO"}).empty());
    EXPECT_THROW(HostKit::ListAdapters(*Manager, {.Services = "ZV_PCIE"}), std::system_error);
    EXPECT_THROW(Machine.FailCall("SetupDiGetClassDevs", 5), std::invalid_argument);
    EXPECT_THROW(Machine.Add({.Identity = ""}), std::invalid_argument);
    EXPECT_THROW(Machine.Add({.Identity = "{test}"}), std::invalid_argument);
    EXPECT_THROW(Machine.Add({.Identity = "{2}", .DriverSettings = R"({"slow": 1})"}), std::runtime_error);
    EXPECT_THROW(Adapter.Configure(R"({"slow": 1})"), std::logic_error);
    EXPECT_THROW(Machine.Adapter("{none}"), std::out_of_range);
    EXPECT_THROW(Machine.Load(R"({"adapters": [{"service": 1}]})"), std::runtime_error);
    EXPECT_EQ(Machine->Adapters().size(), 1U);
}

TEST(TestMachine, FindsTheAdaptersOfAMachineFile)
{
    HostKit::TestMachine machine;
    machine.Load(R"({"adapters": [{
        "netCfgInstanceId": "{file}", "service": "zvwlanu", "hardwareId": "USB\\1", "friendlyName": "From a file",
        "controlDevice": {"name": "Zorvane_Wifi_Device{file}", "module": "ZVDriverModel.dll"}}]})");
    const auto manager = HostKit::CreateManager();
    const auto adapters = HostKit::ListAdapters(*manager);
    ASSERT_EQ(adapters.size(), 1U);
    const TestAdapter adapter = machine.Adapter("{file}");
    adapter.Refuse();
    EXPECT_THROW(HostKit::OpenDevice(*manager, adapters.front()), std::system_error);
    adapter.Unplug();
    EXPECT_THROW(adapter.BehaveNormally(), std::logic_error) << "its driver cannot be reached";
}

} // namespace
