/// Ten thousand random actions against the library, checked against the rules of sweeps and merges.

#include "AdapterFixture.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <semaphore>

namespace
{

/// An adapter as the system has it, and as the list must have it.
struct Node
{
    Platform::AdapterId Id = 0;
    bool Present = true;
    std::uint32_t ProblemNumber = 0;
    std::string Version = "1.2.3.4";

    std::uint32_t Flags = 0;
    std::string ListedVersion = "1.2.3.4";
};

const Rule& RuleFor(const Node& node, std::span<const Rule> rules)
{
    return *std::ranges::find_if(rules, [&](const Rule& rule) {
        return rule.From == (node.Flags & ~Changed) && rule.Present == node.Present && rule.Answers &&
               (!node.Present || (rule.ProblemNumber != 0) == (node.ProblemNumber != 0));
    });
}

/// @return whether clients are notified.
bool Sweep(Node& node)
{
    const Rule& rule = RuleFor(node, SweepRules);
    const bool wasChanged = (node.Flags & Changed) != 0;
    const bool isChanged = node.Present ? node.Version.find(node.ListedVersion) == std::string::npos : wasChanged;
    node.Flags = rule.To | (isChanged ? Changed : 0);
    return rule.Tells || (isChanged && !wasChanged);
}

/// @return whether clients are notified.
bool Merge(Node& node)
{
    if (!node.Present)
        return false;
    const Rule& rule = RuleFor(node, MergeRules);
    const bool isChanged = std::exchange(node.ListedVersion, node.Version) != node.Version;
    node.Flags = rule.To | (isChanged ? Changed : 0);
    return rule.Tells || isChanged;
}

std::size_t ThreadCount()
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

class Random : public AdapterTest
{
protected:
    Random()
    {
        Add("{pcie}", "zvwlane");
        for (const auto& [identity, node] : Nodes)
            Devices.push_back(Open(identity.c_str()));
    }

    std::uint32_t Roll(std::uint32_t sides) { return static_cast<std::uint32_t>(Generator() % sides); }

    /// Applies the rules to all nodes, and expects the event that the library must send then.
    void ExpectAll(bool (&change)(Node&), std::uint32_t event)
    {
        if (std::ranges::count_if(Nodes, [&](auto& entry) { return change(entry.second); }) != 0)
            Expected.push_back(event);
    }
    void ExpectSweep() { ExpectAll(Sweep, ZV_EVT_DEVICE_STATUS_CHANGED); }
    void ExpectMerge() { ExpectAll(Merge, ZV_EVT_DEVICE_ARRIVED); }

    void Act();
    void ActOn(Node& node);
    void Compare();
    void Finish();

    std::map<std::string, Node> Nodes{{"{dev}", {.Id = Adapter}}, {"{two}", {.Id = Add("{two}")}}};
    std::mt19937 Generator;
    Events Expected; ///< Since the last comparison.
    std::shared_ptr<CDeviceManagerIntf> Second = MakeManager();
    EventClient* const Clients[3] = {Client, MakeClient(*Manager), MakeClient(*Manager, ZV_INFO_REQ_MAGIC)};
    std::size_t ThreadsAtRest = ThreadCount(); ///< Before devices are opened.
    std::vector<std::shared_ptr<CDeviceIntf>> Devices;
};

/// Changes the node with its message, or without one; a later message then finds the change.
void Random::ActOn(Node& node)
{
    const bool wasPresent = node.Present;
    switch (Roll(5))
    {
    case 0:
        Machine->Unplug(node.Id);
        node.Present = false;
        if (wasPresent && node.ProblemNumber == 0)
            ExpectSweep();
        return;
    case 1:
        Machine->Plug(node.Id);
        node.Present = true;
        if (!wasPresent && node.ProblemNumber == 0)
            ExpectMerge();
        return;
    case 2:
        node.ProblemNumber = Roll(2) * 10;
        break;
    case 3:
        node.Version = "1.2.3." + std::to_string(Roll(3) * 4);
        break;
    default:
        node.Present = Roll(2) != 0;
        break;
    }
    Machine->ChangeAdapter(node.Id, [&](Platform::AdapterDescription& adapter) {
        adapter.Present = node.Present;
        adapter.Problem = node.ProblemNumber;
        adapter.DriverVersion = node.Version;
    });
}

void Random::Act()
{
    switch (Roll(8))
    {
    case 0:
        return Machine->Broadcast(WmDeviceChange, Roll(2) == 0 ? 7 : 0x8002); // ignored by the library
    case 1:
        Machine->Resume();
        Expected.insert(Expected.end(), 2, ZV_EVT_SYSTEM_RESUME);
        return;
    case 2:
        Machine->Broadcast(WmDeviceChange, Arrival);
        return ExpectMerge();
    case 3:
        Machine->Broadcast(WmDeviceChange, RemoveComplete);
        return ExpectSweep();
    default:
        return ActOn(std::next(Nodes.begin(), Roll(2))->second);
    }
}

/// Checks that events, list and open devices are those of the rules.
void Random::Compare()
{
    Machine->Broadcast(WmPowerBroadcast, 4);
    for (EventClient* client : Clients)
        ASSERT_EQ(client->TakeUntil(ZV_EVT_SYSTEM_SUSPEND), Expected);
    Expected.clear();
    std::vector<_ZV_SRVC_DEVICE_INFO> records = List(*Manager, "ZV_USB").Records;
    ASSERT_EQ(records.size(), Nodes.size());
    for (const auto& device : Devices)
        ASSERT_EQ(device->GetDeviceInfo(&records.emplace_back()), ZV_SRVC_SUCCESS);
    for (const _ZV_SRVC_DEVICE_INFO& record : records)
    {
        const Node& node = Nodes.at(record.NetCfgInstanceId);
        ASSERT_EQ(record.StateFlags, node.Flags) << record.NetCfgInstanceId;
        ASSERT_EQ(record.DriverVersion, node.ListedVersion);
    }
}

/// Checks that the rebuilt list of the second manager is up to date too, and that no handle is left open.
void Random::Finish()
{
    for (auto& [identity, node] : Nodes)
    {
        Machine->Plug(node.Id);
        Machine->SetProblem(node.Id, 0);
    }
    for (const std::uint64_t message : {Arrival, Arrival, RemoveComplete, Arrival})
        Machine->Broadcast(WmDeviceChange, message);
    Settle();
    for (const char* filter : {"ZV_USB", "ZV_ALL"})
        for (const _ZV_SRVC_DEVICE_INFO& record : List(*Second, filter).Records)
            EXPECT_EQ(record.StateFlags & (Problem | Absent), 0U) << record.NetCfgInstanceId;
    Devices.clear();
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
    Generator.seed(seed);

    constexpr int actions = 10'000;
    std::counting_semaphore<> begun{0}; // The host thread lists once per action, concurrently.
    std::jthread host([&] {
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
