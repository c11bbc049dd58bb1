/// Listings, sweeps and merges that overtake each other, and probes that find no thread or no memory. A
/// platform call of one operation runs the other to its end, so every order is forced.

#include "AdapterFixture.h"
#include "Faults.h"

#include "ZVTraceMessages.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <optional>
#include <system_error>
#include <thread>

namespace
{

using namespace std::chrono_literals;
using Work = std::function<void()>;

constexpr char EndOfWalk[] = "SetupDiDestroyDeviceInfoList"; // All adapters have been read.
constexpr std::uint16_t MakingADevice = 11;

class MaintenanceRace : public AdapterTest
{
protected:
    MaintenanceRace() { Relist(); }

    /// Makes the next calls of a function on one thread do work first, the n-th call that of number n.
    void During(const char* call, std::vector<Work> works, std::thread::id thread = {})
    {
        Machine->OnCall(call, [works = std::move(works), thread, next = 0U, busy = false]() mutable {
            const bool isOther = thread != std::thread::id() && thread != std::this_thread::get_id();
            if (busy || isOther || next == works.size())
                return;
            busy = true;
            works[next++]();
            busy = false;
        });
    }

    /// The flags of the listed record with this identity; nothing when the list has none.
    std::optional<std::uint32_t> FlagsOf(const char* filter, std::string_view identity = "{dev}")
    {
        for (const _ZV_SRVC_DEVICE_INFO& record : List(*Manager, filter).Records)
            if (record.NetCfgInstanceId == identity)
                return record.StateFlags;
        return std::nullopt;
    }

    const Work RefusedListing = [this] { EXPECT_EQ(List(*Manager, "").Status, ZV_SRVC_ERR_INVALID_PARAMETER); };
    const Work Rebuild = [this] { Relist(); };
    const Work Nothing = [] {};
};

TEST_F(MaintenanceRace, ASweepOrAMergeFindsItsChangeDespiteConcurrentListings)
{
    const Work silence = [this] { Drivers.front()->On(InformationQuery, TestDriver::EndWith(31)); };
    const struct
    {
        Work Change;
        std::uint64_t Message;
        const char* Call;
        std::vector<Work> During;
        const char* Filter;
        const char* Identity;
        std::uint32_t Flags;
    } rows[] = {
        {silence, RemoveComplete, "CreateFileA", {RefusedListing}, "", "{dev}", Absent},
        {silence, RemoveComplete, "CreateFileA", {Rebuild}, "ZV_USB", "{dev}", Absent},
        {silence, RemoveComplete, "CreateFileA", {Rebuild, Rebuild}, "ZV_USB", "{dev}", Absent},
        {[this] { Add("{one}"); }, Arrival, EndOfWalk, {RefusedListing}, "", "{one}", 0},
        {[this] { Add("{two}"); },
         Arrival,
         EndOfWalk,
         {[this] { List(*Manager, "ZV_SDIO"), List(*Manager, "ZV_USB"); }},
         "ZV_USB",
         "{two}",
         0},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        Drivers.front()->On(InformationQuery, nullptr);
        Relist();
        row.Change();
        During(row.Call, row.During);
        Events told = Send(row.Message);
        std::ranges::copy(Settle(), std::back_inserter(told)); // Of what the service repeats.
        EXPECT_TRUE(row.Message == Arrival || told == StatusChanged);
        EXPECT_EQ(FlagsOf(row.Filter, row.Identity), row.Flags);
    }
}

TEST_F(MaintenanceRace, AMergeYieldsToOtherMessagesAfterTwoRounds)
{
    std::promise<void> suspended;
    Client->InCallback = [&, first = true](std::uint32_t event) mutable {
        if (event == ZV_EVT_SYSTEM_SUSPEND && std::exchange(first, false))
            suspended.set_value();
    };
    bool wasInTime = false;
    const Platform::AdapterId arrival = Add("{new}");
    const auto rebuildWithout = [&] {
        Machine->ChangeAdapter(arrival, [](auto& adapter) { adapter.Present = false; });
        Relist();
        Machine->ChangeAdapter(arrival, [](auto& adapter) { adapter.Present = true; });
    };
    const auto first = [&] { Machine->Broadcast(WmPowerBroadcast, 4), rebuildWithout(); };
    const auto third = [&] { wasInTime = suspended.get_future().wait_for(5s) == std::future_status::ready; };
    During(EndOfWalk, {first, rebuildWithout, third});
    Machine->Broadcast(WmDeviceChange, Arrival);
    EXPECT_EQ(Client->TakeUntil(ZV_EVT_SYSTEM_SUSPEND), Arrived);
    EXPECT_EQ(Settle(ZV_EVT_SYSTEM_RESUME), Arrived);
    EXPECT_TRUE(wasInTime);
    EXPECT_EQ(FlagsOf("ZV_USB", "{new}"), 0U);
    Client->InCallback = nullptr;
}

TEST_F(MaintenanceRace, AListingEnumeratesAtMostTwiceAndTheServiceRepeats)
{
    const struct
    {
        Work Change;
        std::uint64_t Message;
        Events Told; ///< After the listing, of what the listing missed.
        const char* Identity;
        std::uint32_t Flags;
    } rows[] = {
        {[this] { Add("{new}"); }, Arrival, Arrived, "{new}", 0},
        {[this] { SetPresent(false); }, RemoveComplete, StatusChanged, "{dev}", Absent},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.Identity);
        int rounds = 0;
        const auto overtake = [&](const Work& change) {
            return [this, &row, &rounds, change] {
                ++rounds;
                change();
                Send(row.Message);
            };
        };
        Relist();
        // The sweep or merge runs on the service's thread, whose own walks do not count here.
        During(EndOfWalk, {overtake(Nothing), overtake(row.Change), overtake(Nothing)}, std::this_thread::get_id());
        EXPECT_EQ(List(*Manager, "zvwlanu").Status, ZV_SRVC_SUCCESS);
        EXPECT_EQ(rounds, 2);
        EXPECT_EQ(Settle(), row.Told);
        EXPECT_EQ(FlagsOf("zvwlanu", row.Identity), row.Flags);
        Machine->OnCall(EndOfWalk, nullptr);
    }
}

TEST_F(MaintenanceRace, AProbeWithoutThreadOrMemoryTrustsTheEnumeration)
{
    Add("{two}");
    for (const bool present : {true, false})
        for (const auto fail : {&FailThreadStart, &FailAllocation})
        {
            SCOPED_TRACE(testing::Message() << present << (fail == &FailThreadStart));
            SetPresent(true);
            Relist();
            SetPresent(present);
            // The factory traces that it creates a device, on the service's thread, just before it does.
            Platform::TraceSession trace(&ZV_TRACE_PROVIDER, 3, TRACE_FLAG_SERVICE,
                                         [fail, first = true](const Platform::TraceRecord& record) mutable {
                                             if (record.Number == MakingADevice && record.Arguments.empty() &&
                                                 std::exchange(first, false))
                                                 fail(1);
                                         });
            EXPECT_EQ(Send(RemoveComplete), present ? Events() : StatusChanged);
            EXPECT_EQ(FlagsOf("ZV_USB"), present ? 0 : Absent);
        }
}

TEST_F(MaintenanceRace, ASweepCreatesNoDeviceForAnAdapterThatCannotBeOpened)
{
    SetPresent(false);
    Send(RemoveComplete);
    SetPresent(true);
    FailThreadStart(1);
    Send(RemoveComplete);
    std::shared_ptr<CDeviceIntf> device;
    EXPECT_THROW(CreateZVModule(device, ZV_SRVC_DEVICE_UWP), std::system_error) << "the first thread since";
}

} // namespace
