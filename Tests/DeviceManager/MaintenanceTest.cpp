/// The status sweep and the arrival merge, row by row.

#include "AdapterFixture.h"

#include "ZVTraceMessages.h"

namespace
{

const Events None = {};

class Maintenance : public AdapterTest
{
protected:
    /// What a sweep traced when it ended: sighted, suspects, changed.
    using Sweep = std::vector<std::uint32_t>;

    void SetSystem(bool present, std::uint32_t problem, bool answers = true)
    {
        Change([&](Description& adapter) {
            adapter.Present = present;
            adapter.Problem = problem;
        });
        Drivers.front()->On(InformationQuery, answers ? nullptr : TestDriver::EndWith(31));
    }

    /// Brings the listed record into a state with the messages that lead there.
    void Enter(std::uint32_t state)
    {
        SetSystem(true, state == Problem ? 10 : 0);
        Relist();
        if ((state & Absent) != 0)
        {
            SetSystem(state == (Problem | Absent), 10);
            Send(RemoveComplete);
        }
        ASSERT_EQ(Listed().StateFlags, state);
        LastSweep.clear();
    }

    /// Enters each rule's state and sends the message.
    void Check(std::span<const Rule> rules, std::uint64_t message, const Events& told)
    {
        for (const Rule& rule : rules)
        {
            SCOPED_TRACE(&rule - rules.data());
            Enter(rule.From);
            SetSystem(rule.Present, rule.ProblemNumber, rule.Answers);
            EXPECT_EQ(Send(message), rule.Tells ? told : None);
            EXPECT_EQ(Listed().StateFlags, rule.To);
            const Sweep swept = {rule.Present ? 1U : 0U, rule.Suspects, rule.Tells ? 1U : 0U};
            EXPECT_EQ(LastSweep, message == RemoveComplete ? swept : Sweep());
        }
    }

    void Rename(const char* identity)
    {
        Change([&](Description& adapter) { adapter.NetCfgInstanceId = identity; });
    }

    Sweep LastSweep; ///< Written on the service's thread while the test waits for it.
    Platform::TraceSession Trace{&ZV_TRACE_PROVIDER, 3, TRACE_FLAG_DEVICE_MANAGER,
                                 [this](const Platform::TraceRecord& record) {
                                     if (record.Number != 24)
                                         return;
                                     for (const auto& argument : record.Arguments)
                                     {
                                         std::uint32_t number = 0;
                                         std::memcpy(&number, argument.data(), sizeof number);
                                         LastSweep.push_back(number);
                                     }
                                 }};
};

TEST_F(Maintenance, ASweepSetsFlagsByEnumerationAndProbe)
{
    Check(SweepRules, RemoveComplete, StatusChanged);
}

TEST_F(Maintenance, AMergeRevivesOneBitAtATime)
{
    Check(MergeRules, Arrival, Arrived);
}

TEST_F(Maintenance, AMergeAppendsUnknownAdaptersAndKeepsTheOthers)
{
    EXPECT_EQ(Send(Arrival), None) << "no listing has said yet which adapters count";
    Relist();
    Machine->ChangeAdapter(Add("{new}"), [](auto& adapter) { adapter.Problem = 10; });
    Add("{pcie}", "zvwlane"); // The filter of the last listing keeps it out.
    SetSystem(false, 0);
    EXPECT_EQ(Send(Arrival), Arrived);
    const Listing listing = List(*Manager, "ZV_USB");
    ASSERT_EQ(listing.Identities(), (std::vector<std::string>{"{dev}", "{new}"}));
    EXPECT_EQ(listing.Records[0].StateFlags, 0U);
    EXPECT_EQ(listing.Records[1].StateFlags, Problem);
    EXPECT_EQ(Send(Arrival), None);
}

TEST_F(Maintenance, AChangedDriverVersionSetsASeparateFlag)
{
    Relist();
    const struct
    {
        std::uint64_t Message;
        const char* Installed;
        std::uint32_t Flags;
        const char* Recorded;
        Events Told;
    } rows[] = {
        {RemoveComplete, "1.2.3.4", 0, "1.2.3.4", None},
        {RemoveComplete, "1.2.3.5", Changed, "1.2.3.4", StatusChanged},
        {RemoveComplete, "1.2.3.6", Changed, "1.2.3.4", None},
        {RemoveComplete, "v1.2.3.4 rc", 0, "1.2.3.4", None}, // contains the recorded one
        {RemoveComplete, "2", Changed, "1.2.3.4", StatusChanged},
        {Arrival, "2", Changed, "2", Arrived},
        {Arrival, "2", 0, "2", None},
        {Arrival, "2.0", Changed, "2.0", Arrived}, // a merge compares whole texts, not parts
        {RemoveComplete, "2.0", 0, "2.0", None},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        Change([&](Description& adapter) { adapter.DriverVersion = row.Installed; });
        EXPECT_EQ(Send(row.Message), row.Told);
        const _ZV_SRVC_DEVICE_INFO listed = Listed();
        EXPECT_EQ(listed.StateFlags, row.Flags);
        EXPECT_STREQ(listed.DriverVersion, row.Recorded);
    }
}

TEST_F(Maintenance, ASweepMatchesPartsOfAnIdentityAndAMergeTheWhole)
{
    Relist();
    Rename("dev}"); // occurs in the record's
    EXPECT_EQ(Send(RemoveComplete), None);
    SetSystem(true, 10);
    EXPECT_EQ(Send(RemoveComplete), StatusChanged);
    SetSystem(true, 0);
    Rename("{dev}{dev}"); // contains the record's, which a sweep does not check
    EXPECT_EQ(Send(RemoveComplete), None);
    EXPECT_EQ(Send(Arrival), Arrived); // but a merge does, and clears one bit
    EXPECT_EQ(Listed().StateFlags, Problem);
    Rename("{de");
    EXPECT_EQ(Send(Arrival), Arrived);
    EXPECT_EQ(List(*Manager, "ZV_USB").Identities(), (std::vector<std::string>{"{dev}", "{de"}));
}

TEST_F(Maintenance, AFaultDuringASweepNotifiesClients)
{
    const auto fail = [this](const char* call, std::uint32_t error) {
        return [this, call, error](Description&) { Machine->FailCall(call, 1, error); };
    };
    const Sweep none = {}; // The enumeration failed, and nothing changes.
    const Sweep removed = {0, 1, 1};
    const Sweep changed = {1, 0, 1};
    const struct
    {
        const char* Name;
        std::function<void(Description&)> Fault;
        Sweep Traced;
        std::uint32_t Flags;
    } rows[] = {
        {"no class", fail("SetupDiClassGuidsFromNameW", 5), none, 0},
        {"no set", fail("SetupDiGetClassDevsW", 5), none, 0},
        {"no class key", fail("SetupDiOpenClassRegKey", 5), none, 0},
        // These two come before watchers run, whose reads would take the failure.
        {"no version", fail("RegQueryValueExA", ERROR_FILE_NOT_FOUND), changed, Changed}, // Is read first.
        {"key being deleted", fail("RegQueryValueExA", ERROR_KEY_DELETED), removed, Absent},
        {"hidden", [](Description& a) { a.Hidden = true; }, removed, Absent},
        {"unreadable", [](Description& a) { a.Readable = false; }, removed, Absent},
        {"no driver key", [](Description& a) { a.HasDriverKey = false; }, removed, Absent},
        {"no driver", [](Description& a) { a.DriverKey.reset(), a.AssignDriverKey = false; }, removed, Absent},
    };
    const Description working = Machine->Adapter(Adapter);
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.Name);
        Change([&](Description& adapter) { adapter = working; });
        Relist();
        LastSweep.clear();
        Description adapter = working;
        row.Fault(adapter);
        Change([&](Description& changing) { changing = adapter; });
        EXPECT_EQ(Send(RemoveComplete), StatusChanged);
        EXPECT_EQ(LastSweep, row.Traced);
        EXPECT_EQ(Listed().StateFlags & ~ZV_DEV_DRIVER_UNINSTALLED, row.Flags); // A watcher may see no key either.
        EXPECT_EQ(Platform::CountOpenObjects().DeviceSets, 0U);
        // A watcher opens keys.
        EXPECT_TRUE(row.Flags == Absent || Platform::CountOpenObjects().RegistryKeys == 0);
    }
}

TEST_F(Maintenance, EveryMatchingIdentityIsProbedUpToTheExactOne)
{
    Add("{two}");
    Add("{ethernet}", "foreign");
    Relist();
    for (const auto& driver : Drivers)
        driver->Requests();
    EXPECT_EQ(Send(RemoveComplete), None);
    EXPECT_EQ(LastSweep, (Sweep{2, 0, 0}));
    EXPECT_EQ(Drivers[0]->Requests().size(), 1U);
    EXPECT_EQ(Drivers[1]->Requests().size(), 2U); // once for the first adapter's identity
    EXPECT_EQ(Drivers[2]->Requests().size(), 0U);
}

TEST_F(Maintenance, ASweepOfAnEmptyListChangesNothing)
{
    EXPECT_EQ(Send(RemoveComplete), None);
    EXPECT_EQ(LastSweep, (Sweep{0, 0, 0}));
}

TEST_F(Maintenance, AnIdentityIsComparedAsTruncatedInTheRecord)
{
    // 50 bytes and no NUL: the record holds 49 of them.
    const std::string identity(49, 'i');
    Machine->AttachDevice(ControlDeviceName + identity, Drivers.front());
    Change([](Description& a) { a.Values["NetCfgInstanceId"] = {1, std::vector<std::uint8_t>(50, 'i')}; });
    std::shared_ptr<CDeviceIntf> device = Open(identity.c_str());
    EXPECT_EQ(Send(RemoveComplete), None);
    EXPECT_EQ(Manager->NicChangeState(device, 0), ZV_SRVC_SUCCESS);
    EXPECT_EQ(Machine->Adapter(Adapter).Problem, 22U);
}

TEST_F(Maintenance, AnUninstalledDriverIsReportedOncePerWatchedEntryAndStaysMarked)
{
    Relist();
    SetSystem(true, 22);
    EXPECT_EQ(Send(RemoveComplete), StatusChanged); // The watcher has two entries for it.
    EXPECT_TRUE(Machine->Uninstall(Adapter));
    Client->TakeUntil(ZV_EVT_DRIVER_UNINSTALLED);
    Client->TakeUntil(ZV_EVT_DRIVER_UNINSTALLED);
    EXPECT_EQ(Listed().StateFlags, Problem | Absent | ZV_DEV_DRIVER_UNINSTALLED);
    Change([](Description& adapter) { adapter.Problem = 0; });
    Machine->Plug(Adapter);
    EXPECT_EQ(Settle(), Arrived);
    EXPECT_EQ(Listed().StateFlags, Problem | ZV_DEV_DRIVER_UNINSTALLED);
    Relist();
    EXPECT_EQ(Listed().StateFlags, 0U);
}

} // namespace
