/// Ten thousand random actions against the library, checked by a model of the rules.

#include "EventFixture.h"

#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <semaphore>

namespace
{

using Events = std::vector<std::uint32_t>;

constexpr std::uint32_t Problem = ZV_DEV_HAS_PROBLEM;
constexpr std::uint32_t Absent = ZV_DEV_ABSENT;
constexpr std::uint32_t Changed = ZV_DEV_DRIVER_CHANGED;

/// An adapter as the system has it, and as a list must have it. Nothing here knows the library.
struct Adapter
{
    Platform::AdapterId Id = 0;
    bool Present = true;
    std::uint32_t ProblemNumber = 0;
    std::string Version = "1.2.3.4";

    bool Listed = false;
    std::uint32_t Flags = 0;
    std::string ListedVersion;
};

/// A model of the sweep's and the merge's tables, by state.
class Rules
{
public:
    std::map<std::string, Adapter> Adapters; ///< Listed ones in the order of their names.

    bool Sweep()
    {
        bool tells = false;
        for (auto& [name, adapter] : Adapters)
            if (adapter.Listed)
                tells |= Sweep(adapter);
        return tells;
    }

    bool Merge()
    {
        bool tells = false;
        for (auto& [name, adapter] : Adapters)
            if (adapter.Present)
                tells |= Merge(adapter);
        return tells;
    }

private:
    static bool Sweep(Adapter& adapter)
    {
        const std::uint32_t before = adapter.Flags;
        if (!adapter.Present)
            adapter.Flags |= Absent;
        else
        {
            adapter.Flags = adapter.ProblemNumber != 0 ? adapter.Flags | Problem | Absent : adapter.Flags & ~Problem;
            const bool contains = adapter.Version.find(adapter.ListedVersion) != std::string::npos;
            adapter.Flags = contains ? adapter.Flags & ~Changed : adapter.Flags | Changed;
        }
        const std::uint32_t set = adapter.Flags & ~before;
        return set != 0 || ((before ^ adapter.Flags) & Problem) != 0;
    }

    static bool Merge(Adapter& adapter)
    {
        if (!adapter.Listed)
        {
            adapter.Listed = true;
            adapter.Flags = adapter.ProblemNumber != 0 ? Problem : 0;
            adapter.ListedVersion = adapter.Version;
            return true;
        }
        const bool revived = (adapter.Flags & Absent) != 0;
        const bool recovered = !revived && (adapter.Flags & Problem) != 0 && adapter.ProblemNumber == 0;
        const bool updated = adapter.Version != adapter.ListedVersion;
        adapter.Flags &= ~(revived ? Absent : recovered ? Problem : 0U);
        adapter.Flags = updated ? adapter.Flags | Changed : adapter.Flags & ~Changed;
        adapter.ListedVersion = adapter.Version;
        return revived || recovered || updated;
    }
};

std::size_t ThreadCount()
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

class Random : public EventTest
{
protected:
    Random()
    {
        for (const char* name : {"{a}", "{b}"})
            Model.Adapters[name].Id = Add(name);
        Add("{pcie}", "zvwlane");
        List(*Manager, "ZV_USB");
        Model.Merge();
        for (int i = 0; i < 2; ++i)
        {
            const _ZV_SRVC_DEVICE_INFO record = List(*Manager, "ZV_USB").Records[static_cast<std::size_t>(i)];
            EXPECT_EQ(Manager->OpenDevice(&record, ZV_SRVC_DEVICE_UWP, Devices[i]), ZV_SRVC_SUCCESS);
        }
    }

    std::uint32_t Roll(std::uint32_t sides) { return static_cast<std::uint32_t>(Generator() % sides); }

    /// Records the event that the library must send after an enumeration.
    void Expect(bool tells, std::uint32_t event)
    {
        if (tells)
            Expected.push_back(event);
    }

    void Act();
    void ActOn(Adapter& adapter);
    void Compare();
    void Finish();

    Rules Model;
    std::shared_ptr<CDeviceIntf> Devices[2];
    std::mt19937 Generator;
    Events Expected; ///< Since the last settling.
    std::shared_ptr<CDeviceManagerIntf> Second = MakeManager();
    EventClient* UserClient = MakeClient(*Manager);
    EventClient* ZvClient = MakeClient(*Manager, ZV_INFO_REQ_MAGIC);
    std::size_t ThreadsAtRest = ThreadCount(); ///< Before devices are opened.
};

/// Changes the node without a message first; a later event finds the change.
void Random::ActOn(Adapter& adapter)
{
    const bool up = adapter.Present && adapter.ProblemNumber == 0;
    switch (Roll(7))
    {
    case 0:
        Machine->Unplug(adapter.Id);
        adapter.Present = false;
        return Expect(up && Model.Sweep(), ZV_EVT_DEVICE_STATUS_CHANGED);
    case 1: {
        Machine->Plug(adapter.Id);
        const bool comes = !std::exchange(adapter.Present, true) && adapter.ProblemNumber == 0;
        return Expect(comes && Model.Merge(), ZV_EVT_DEVICE_ARRIVED);
    }
    case 2:
        if (!up)
            return;
        // The query of a disable sweeps too, before or after the change. Both orders have the same result,
        // because there is nothing else to find.
        Machine->Broadcast(WmDeviceChange, RemoveComplete);
        Expect(Model.Sweep(), ZV_EVT_DEVICE_STATUS_CHANGED);
        Compare();
        EXPECT_TRUE(Machine->Disable(adapter.Id));
        adapter.ProblemNumber = 22;
        return Expect(Model.Sweep(), ZV_EVT_DEVICE_STATUS_CHANGED);
    case 3:
        if (!adapter.Present || adapter.ProblemNumber != 22)
            return;
        EXPECT_TRUE(Machine->Enable(adapter.Id));
        adapter.ProblemNumber = 0;
        return Expect(Model.Merge(), ZV_EVT_DEVICE_ARRIVED);
    case 4:
        adapter.ProblemNumber = Roll(2) * 10;
        break;
    case 5:
        adapter.Version = "1.2.3." + std::to_string(Roll(3) * 4);
        break;
    default:
        adapter.Present = Roll(2) != 0;
        break;
    }
    Machine->ChangeAdapter(adapter.Id, [&](Platform::AdapterDescription& node) {
        node.Present = adapter.Present;
        node.Problem = adapter.ProblemNumber;
        node.DriverVersion = adapter.Version;
    });
}

void Random::Act()
{
    switch (Roll(8))
    {
    case 0:
        Machine->Broadcast(WmDeviceChange, Roll(2) == 0 ? 7 : 0x8002); // nothing to the library
        return;
    case 1:
        Machine->Resume();
        Expected.insert(Expected.end(), 2, ZV_EVT_SYSTEM_RESUME);
        return;
    case 2:
        Machine->Broadcast(WmDeviceChange, Arrival);
        return Expect(Model.Merge(), ZV_EVT_DEVICE_ARRIVED);
    case 3:
        Machine->Broadcast(WmDeviceChange, RemoveComplete);
        return Expect(Model.Sweep(), ZV_EVT_DEVICE_STATUS_CHANGED);
    default:
        return ActOn(std::next(Model.Adapters.begin(), Roll(2))->second);
    }
}

/// Events and list are those of the rules, for every client of the first manager.
void Random::Compare()
{
    const Events told = Settle();
    ASSERT_EQ(told, Expected);
    for (EventClient* client : {UserClient, ZvClient})
    {
        Events heard = client->TakeUntil(ZV_EVT_SYSTEM_SUSPEND);
        std::erase(heard, ZV_EVT_DRIVER_UNINSTALLED);
        ASSERT_EQ(heard, Expected);
    }
    Expected.clear();
    for (const _ZV_SRVC_DEVICE_INFO& record : List(*Manager, "ZV_USB").Records)
    {
        const Adapter& adapter = Model.Adapters.at(record.NetCfgInstanceId);
        ASSERT_EQ(record.StateFlags, adapter.Flags) << record.NetCfgInstanceId;
        ASSERT_EQ(record.DriverVersion, adapter.ListedVersion);
    }
    for (const auto& device : Devices)
    {
        _ZV_SRVC_DEVICE_INFO record{};
        ASSERT_EQ(device->GetDeviceInfo(&record), ZV_SRVC_SUCCESS);
        ASSERT_EQ(record.StateFlags, Model.Adapters.at(record.NetCfgInstanceId).Flags);
    }
}

/// The rebuilt list of the second manager is up to date too, and no handle is left open.
void Random::Finish()
{
    for (auto& [name, adapter] : Model.Adapters)
    {
        Machine->Plug(adapter.Id);
        Machine->SetProblem(adapter.Id, 0);
    }
    for (const std::uint64_t message : {Arrival, Arrival, RemoveComplete, Arrival})
        Machine->Broadcast(WmDeviceChange, message);
    Settle();
    for (const char* filter : {"ZV_USB", "ZV_ALL"})
        for (const _ZV_SRVC_DEVICE_INFO& record : List(*Second, filter).Records)
            EXPECT_EQ(record.StateFlags & (Problem | Absent), 0U) << record.NetCfgInstanceId;
    for (auto& device : Devices)
        device.reset();
    // The watchers find the keys deleted and end; main, window, service and six queue threads remain.
    Machine->DeleteTree(R"(SYSTEM\CurrentControlSet\Control\Class\{4D36E972-E325-11CE-BFC1-08002BE10318})");
    while (ThreadCount() > ThreadsAtRest)
        std::this_thread::yield();
    Platform::OpenObjects open = Platform::CountOpenObjects();
    open.TraceProviders = 0;
    EXPECT_EQ(open.Total(), 0U);
}

TEST_F(Random, TheLibraryFollowsTheRulesThroughTenThousandActions)
{
    const char* const given = std::getenv("ZV_TEST_SEED");
    const unsigned seed = given != nullptr ? static_cast<unsigned>(std::stoul(given)) : std::random_device{}();
    std::printf("ZV_TEST_SEED=%u\n", seed);
    RecordProperty("seed", std::to_string(seed));
    Generator.seed(seed);

    constexpr int actions = 10'000;
    std::counting_semaphore<> begun{0}; // The host thread lists once per action, concurrently.
    std::thread host([&] {
        const char* const filters[] = {"ZV_USB", "ZV_ALL", "ZV_PCIE", "zvwlanu"};
        for (std::size_t i = 0; i < actions; ++i)
        {
            begun.acquire();
            List(*Second, filters[i % std::size(filters)]);
        }
    });
    for (int action = 0; action < actions; ++action)
    {
        begun.release();
        if (HasFatalFailure())
            continue;
        SCOPED_TRACE(testing::Message() << "action " << action);
        Act();
        Compare();
    }
    host.join();
    Finish();
}

} // namespace
