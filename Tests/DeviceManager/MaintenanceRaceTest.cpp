/// Listings, sweeps and merges that overtake each other, and probes that find no thread or no memory. A
/// platform call of one operation runs the other to its end, so every order is forced.

#include "EventFixture.h"
#include "Faults.h"

#include "ZVTraceMessages.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <iterator>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace
{

using namespace std::chrono_literals;
using Events = std::vector<std::uint32_t>;
using Work = std::function<void()>;

constexpr std::uint32_t InformationQuery = 0x122428;
constexpr char EndOfWalk[] = "SetupDiDestroyDeviceInfoList"; // All adapters have been read.
constexpr char Probe[] = "CreateFileA";
constexpr std::uint16_t MakingADevice = 11;

class MaintenanceRace : public EventTest
{
protected:
    MaintenanceRace() { Relist(); }

    void SetPresent(bool present)
    {
        Machine->ChangeAdapter(Adapter, [present](auto& adapter) { adapter.Present = present; });
    }

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

    /// Sends a message and returns its events and those of what the service repeats afterwards.
    Events SendAndRepeat(std::uint64_t wParam)
    {
        Events events = Send(wParam);
        std::ranges::copy(Settle(), std::back_inserter(events));
        return events;
    }

    /// The flags of the listed record with this identity; nothing when the list has none.
    std::optional<std::uint32_t> FlagsOf(const char* filter, std::string_view identity)
    {
        for (const _ZV_SRVC_DEVICE_INFO& record : List(*Manager, filter).Records)
            if (record.NetCfgInstanceId == identity)
                return record.StateFlags;
        return std::nullopt;
    }

    Platform::AdapterId Adapter = Add("{dev}");
    const Work RefusedListing = [this] { EXPECT_EQ(List(*Manager, "").Status, ZV_SRVC_ERR_INVALID_PARAMETER); };
    const Work Rebuild = [this] { Relist(); };
    const Work Nothing = [] {};
};

TEST_F(MaintenanceRace, ASweepFindsADeadDriverDespiteConcurrentListings)
{
    const struct
    {
        std::vector<Work> DuringProbes;
        const char* Filter;
    } rows[] = {
        {{RefusedListing}, ""},
        {{Rebuild}, "ZV_USB"},
        {{Rebuild, Rebuild}, "ZV_USB"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        Drivers.front()->On(InformationQuery, nullptr);
        Relist();
        Drivers.front()->On(InformationQuery, TestDriver::EndWith(31));
        During(Probe, row.DuringProbes);
        EXPECT_EQ(SendAndRepeat(RemoveComplete), Events{ZV_EVT_DEVICE_STATUS_CHANGED});
        EXPECT_EQ(FlagsOf(row.Filter, "{dev}"), ZV_DEV_ABSENT);
    }
}

TEST_F(MaintenanceRace, AMergeReportsAnArrivalDespiteConcurrentListings)
{
    const struct
    {
        const char* Identity;
        std::vector<Work> DuringWalks;
        const char* Filter;
    } rows[] = {
        {"{one}", {RefusedListing}, ""},
        {"{two}", {[this] { List(*Manager, "ZV_SDIO"), List(*Manager, "ZV_USB"); }}, "ZV_USB"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.Identity);
        Relist();
        Add(row.Identity);
        During(EndOfWalk, row.DuringWalks);
        SendAndRepeat(Arrival);
        EXPECT_EQ(FlagsOf(row.Filter, row.Identity), 0U);
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
    EXPECT_EQ(Client->TakeUntil(ZV_EVT_SYSTEM_SUSPEND), Events{ZV_EVT_DEVICE_ARRIVED});
    EXPECT_EQ(Settle(ZV_EVT_SYSTEM_RESUME), Events{ZV_EVT_DEVICE_ARRIVED});
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
        {[this] { Add("{new}"); }, Arrival, {ZV_EVT_DEVICE_ARRIVED}, "{new}", 0},
        {[this] { SetPresent(false); }, RemoveComplete, {ZV_EVT_DEVICE_STATUS_CHANGED}, "{dev}", ZV_DEV_ABSENT},
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

TEST_F(MaintenanceRace, AListingThatIsOlderThanASweepEnumeratesAgain)
{
    During(EndOfWalk, {[this] {
               SetPresent(false);
               EXPECT_EQ(Send(RemoveComplete), Events{ZV_EVT_DEVICE_STATUS_CHANGED});
           }},
           std::this_thread::get_id());
    EXPECT_EQ(List(*Manager, "zvwlanu").Status, ZV_SRVC_ERR_NO_DEVICE);
}

TEST_F(MaintenanceRace, AProbeWithoutThreadOrMemoryTrustsTheEnumeration)
{
    Add("{two}");
    const struct
    {
        bool Present;
        Work Fault;
        Events Told;
        std::uint32_t Flags;
    } rows[] = {
        {true, [] { FailThreadStart(1); }, {}, 0},
        {false, [] { FailThreadStart(1); }, {ZV_EVT_DEVICE_STATUS_CHANGED}, ZV_DEV_ABSENT},
        {true, [] { FailAllocation(1); }, {}, 0},
        {false, [] { FailAllocation(1); }, {ZV_EVT_DEVICE_STATUS_CHANGED}, ZV_DEV_ABSENT},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        SetPresent(true);
        Relist();
        SetPresent(row.Present);
        // The factory traces that it makes a device, on the service's thread, just before it does.
        Platform::TraceSession trace(&ZV_TRACE_PROVIDER, 3, TRACE_FLAG_SERVICE,
                                     [&row, first = true](const Platform::TraceRecord& record) mutable {
                                         if (record.Number == MakingADevice && record.Arguments.empty() &&
                                             std::exchange(first, false))
                                             row.Fault();
                                     });
        EXPECT_EQ(Send(RemoveComplete), row.Told);
        EXPECT_EQ(FlagsOf("ZV_USB", "{dev}"), row.Flags);
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
