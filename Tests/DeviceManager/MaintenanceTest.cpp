/// The status sweep and the arrival merge, row by row.

#include "EventFixture.h"

#include "ZVTraceMessages.h"

namespace
{

constexpr std::uint32_t Problem = ZV_DEV_HAS_PROBLEM;
constexpr std::uint32_t Absent = ZV_DEV_ABSENT;
constexpr std::uint32_t Changed = ZV_DEV_DRIVER_CHANGED;
constexpr std::uint32_t InformationQuery = 0x122428;

using Events = std::vector<std::uint32_t>;
const Events StatusChanged = {ZV_EVT_DEVICE_STATUS_CHANGED};
const Events Arrived = {ZV_EVT_DEVICE_ARRIVED};
const Events None = {};

class Maintenance : public EventTest
{
protected:
    /// What a sweep traced when it ended: sighted, suspects, changed.
    using Sweep = std::vector<std::uint32_t>;

    void SetSystem(bool present, std::uint32_t problem, bool answers = true)
    {
        Machine->ChangeAdapter(Adapter, [&](Platform::AdapterDescription& adapter) {
            adapter.Present = present;
            adapter.Problem = problem;
        });
        Drivers.front()->On(InformationQuery, answers ? nullptr : TestDriver::EndWith(31));
    }

    void SetVersion(const std::string& version)
    {
        Machine->ChangeAdapter(Adapter, [&](auto& adapter) { adapter.DriverVersion = version; });
    }

    /// Brings the listed record into a state by the roads that lead there.
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

    Platform::AdapterId Adapter = Add("{dev}");
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
    const struct
    {
        std::uint32_t From;
        bool Present;
        std::uint32_t Problem;
        bool Answers;
        std::uint32_t To;
        std::uint32_t Suspects;
        bool Tells;
    } rows[] = {
        {0, false, 0, true, Absent, 1, true},
        {0, true, 0, false, Absent, 1, true},
        {0, true, 22, true, Problem | Absent, 2, true},
        {0, true, 0, true, 0, 0, false},
        {Problem, true, 0, true, 0, 0, true},
        {Problem, true, 0, false, Absent, 1, true},
        {Problem, false, 0, true, Problem | Absent, 1, true},
        {Problem, true, 10, true, Problem | Absent, 1, true},
        {Absent, true, 10, true, Problem | Absent, 1, true},
        {Absent, true, 0, true, Absent, 0, false},
        {Absent, false, 0, true, Absent, 0, false},
        {Problem | Absent, true, 0, true, Absent, 0, true},
        {Problem | Absent, true, 10, true, Problem | Absent, 0, false},
        {Problem | Absent, false, 0, true, Problem | Absent, 0, false},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        Enter(row.From);
        SetSystem(row.Present, row.Problem, row.Answers);
        EXPECT_EQ(Send(RemoveComplete), row.Tells ? StatusChanged : None);
        EXPECT_EQ(Listed().StateFlags, row.To);
        EXPECT_EQ(LastSweep, (Sweep{row.Present ? 1U : 0U, row.Suspects, row.Tells ? 1U : 0U}));
    }
}

TEST_F(Maintenance, AMergeRevivesOneBitAtATime)
{
    const struct
    {
        std::uint32_t From;
        std::uint32_t Problem;
        std::uint32_t To;
        bool Tells;
    } rows[] = {
        {Absent, 0, 0, true},
        {Absent, 10, 0, true},
        {Problem | Absent, 0, Problem, true},
        {Problem | Absent, 10, Problem, true},
        {Problem, 0, 0, true},
        {Problem, 10, Problem, false},
        {0, 0, 0, false},
        {0, 10, 0, false},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        Enter(row.From);
        SetSystem(true, row.Problem);
        EXPECT_EQ(Send(Arrival), row.Tells ? Arrived : None);
        EXPECT_EQ(Listed().StateFlags, row.To);
    }
}

TEST_F(Maintenance, AMergeAppendsUnknownAdaptersAndKeepsTheOthers)
{
    Relist();
    Machine->ChangeAdapter(Add("{new}"), [](auto& adapter) { adapter.Problem = 10; });
    Add("{pcie}", "zvwlane"); // the filter of the last listing keeps it out
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
        {Arrival, "2.0", 0, "2.0", None},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        SetVersion(row.Installed);
        EXPECT_EQ(Send(row.Message), row.Told);
        const _ZV_SRVC_DEVICE_INFO listed = Listed();
        EXPECT_EQ(listed.StateFlags, row.Flags);
        EXPECT_STREQ(listed.DriverVersion, row.Recorded);
    }
}

TEST_F(Maintenance, ASweepMatchesPartsOfAnIdentityAndAMergeTheWhole)
{
    Relist();
    const auto rename = [this](const char* identity) {
        Machine->ChangeAdapter(Adapter, [&](auto& adapter) { adapter.NetCfgInstanceId = identity; });
    };
    rename("{de"); // occurs in the record's
    EXPECT_EQ(Send(RemoveComplete), None);
    rename("{dev}2"); // the record's occurs in it, which is not asked
    EXPECT_EQ(Send(RemoveComplete), StatusChanged);
    EXPECT_EQ(Send(Arrival), Arrived); // here it is
    EXPECT_EQ(Listed().StateFlags, 0U);
    rename("{de");
    EXPECT_EQ(Send(Arrival), Arrived);
    EXPECT_EQ(List(*Manager, "ZV_USB").Identities(), (std::vector<std::string>{"{dev}", "{de"}));
}

TEST_F(Maintenance, AFailedSweepNotifiesClientsAndChangesNothing)
{
    Relist();
    SetSystem(false, 0);
    for (const char* call : {"SetupDiClassGuidsFromNameW", "SetupDiGetClassDevsW", "SetupDiOpenClassRegKey"})
    {
        SCOPED_TRACE(call);
        Machine->FailCall(call, 1, 5);
        EXPECT_EQ(Send(RemoveComplete), StatusChanged);
        EXPECT_EQ(Listed().StateFlags, 0U);
        EXPECT_EQ(Sweep(), LastSweep);
        EXPECT_EQ(Platform::CountOpenObjects().DeviceSets + Platform::CountOpenObjects().RegistryKeys, 0U);
    }
}

TEST_F(Maintenance, ADeviceThatCannotBeReadConfirmsNoRecord)
{
    using Description = Platform::AdapterDescription;
    const std::function<void(Description&)> changes[] = {
        [](Description& adapter) { adapter.Hidden = true; },
        [](Description& adapter) { adapter.Readable = false; },
        [](Description& adapter) { adapter.HasDriverKey = false; },
        [](Description& adapter) { adapter.DriverKey.reset(), adapter.AssignDriverKey = false; },
    };
    const Description working = Machine->Adapter(Adapter);
    for (const auto& change : changes)
    {
        SCOPED_TRACE(&change - changes);
        Machine->ChangeAdapter(Adapter, [&](Description& adapter) { adapter = working; });
        Relist();
        LastSweep.clear();
        Machine->ChangeAdapter(Adapter, change);
        EXPECT_EQ(Send(RemoveComplete), StatusChanged);
        EXPECT_EQ(LastSweep, (Sweep{0, 1, 1}));
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

TEST_F(Maintenance, AnEmptyListStaysUnchanged)
{
    EXPECT_EQ(Send(RemoveComplete), None);
    EXPECT_EQ(LastSweep, (Sweep{0, 0, 0}));
    EXPECT_EQ(Send(Arrival), None); // no listing has said yet which adapters count
    EXPECT_EQ(List(*Manager, "").Records.size(), 0U);
}

TEST_F(Maintenance, TheVersionIsReadBeforeTheIdentityAndADeletedKeyConfirmsNoRecord)
{
    const struct
    {
        std::uint32_t Error;
        std::uint32_t Flags;
    } rows[] = {{ERROR_FILE_NOT_FOUND, Changed}, {ERROR_KEY_DELETED, Absent}};
    for (const auto& [error, flags] : rows)
    {
        Relist();
        Machine->FailCall("RegQueryValueExA", 1, error);
        EXPECT_EQ(Send(RemoveComplete), StatusChanged) << error;
        EXPECT_EQ(Listed().StateFlags, flags) << error;
    }
}

TEST_F(Maintenance, AnIdentityIsComparedAsTruncatedInTheRecord)
{
    // 50 bytes and no NUL: the record holds 49 of them.
    const std::string identity(49, 'i');
    Machine->AttachDevice(ControlDeviceName + identity, Drivers.front());
    Machine->ChangeAdapter(
        Adapter, [](auto& adapter) { adapter.Values["NetCfgInstanceId"] = {1, std::vector<std::uint8_t>(50, 'i')}; });
    Relist();
    const _ZV_SRVC_DEVICE_INFO record = Listed();
    EXPECT_EQ(record.NetCfgInstanceId, identity);
    EXPECT_EQ(Send(RemoveComplete), None);
    std::shared_ptr<CDeviceIntf> device;
    ASSERT_EQ(Manager->OpenDevice(&record, ZV_SRVC_DEVICE_UWP, device), ZV_SRVC_SUCCESS);
    EXPECT_EQ(Manager->NicChangeState(device, 0), ZV_SRVC_SUCCESS);
    EXPECT_EQ(Machine->Adapter(Adapter).Problem, 22U);
}

TEST_F(Maintenance, AnUninstalledDriverIsReportedOncePerWatchedEntry)
{
    Relist();
    SetSystem(true, 22);
    EXPECT_EQ(Send(RemoveComplete), StatusChanged); // the watcher has two entries for it
    EXPECT_EQ(Listed().StateFlags, Problem | Absent);
    Machine->DeleteTree(R"(SYSTEM\CurrentControlSet\Control\Class\{4D36E972-E325-11CE-BFC1-08002BE10318})");
    Client->TakeUntil(ZV_EVT_DRIVER_UNINSTALLED);
    Client->TakeUntil(ZV_EVT_DRIVER_UNINSTALLED);
    EXPECT_EQ(Listed().StateFlags, Problem | Absent | ZV_DEV_DRIVER_UNINSTALLED);
}

} // namespace
