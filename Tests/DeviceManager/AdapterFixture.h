/// @file
/// A machine with one adapter, and the rules by which sweeps and merges change a listed record.
#pragma once

#include "EventFixture.h"

#include <cstring>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

using Description = Platform::AdapterDescription;
using Events = std::vector<std::uint32_t>;

inline const Events StatusChanged = {ZV_EVT_DEVICE_STATUS_CHANGED};
inline const Events Arrived = {ZV_EVT_DEVICE_ARRIVED};

/// The request by which a sweep probes a driver.
inline constexpr std::uint32_t InformationQuery = 0x122428;

inline constexpr std::uint32_t Problem = ZV_DEV_HAS_PROBLEM;
inline constexpr std::uint32_t Absent = ZV_DEV_ABSENT;
inline constexpr std::uint32_t Changed = ZV_DEV_DRIVER_CHANGED;

/// What a record's flags become. MaintenanceTest checks each rule; RandomTest applies them in any order.
struct Rule
{
    std::uint32_t From;
    bool Present;
    std::uint32_t ProblemNumber;
    bool Answers; ///< The driver answers a probe.
    std::uint32_t To;
    bool Tells;                 ///< Clients are notified.
    std::uint32_t Suspects = 0; ///< The number of records for the uninstall watcher.
};

inline constexpr Rule SweepRules[] = {
    {0, false, 0, true, Absent, true, 1},
    {0, true, 0, false, Absent, true, 1},
    {0, true, 22, true, Problem | Absent, true, 2},
    {0, true, 0, true, 0, false},
    {Problem, true, 0, true, 0, true},
    {Problem, true, 0, false, Absent, true, 1},
    {Problem, false, 0, true, Problem | Absent, true, 1},
    {Problem, true, 10, true, Problem | Absent, true, 1},
    {Absent, true, 10, true, Problem | Absent, true, 1},
    {Absent, true, 0, true, Absent, false},
    {Absent, false, 0, true, Absent, false},
    {Problem | Absent, true, 0, true, Absent, true},
    {Problem | Absent, true, 10, true, Problem | Absent, false},
    {Problem | Absent, false, 0, true, Problem | Absent, false},
};

/// A merge revives one bit at a time.
inline constexpr Rule MergeRules[] = {
    {Absent, true, 0, true, 0, true},
    {Absent, true, 10, true, 0, true},
    {Problem | Absent, true, 0, true, Problem, true},
    {Problem | Absent, true, 10, true, Problem, true},
    {Problem, true, 0, true, 0, true},
    {Problem, true, 10, true, Problem, false},
    {0, true, 0, true, 0, false},
    {0, true, 10, true, 0, false},
};

class AdapterTest : public EventTest
{
protected:
    /// Changes the adapter without a message.
    template <class Edit>
    void Change(Edit edit)
    {
        Machine->ChangeAdapter(Adapter, edit);
    }

    void SetPresent(bool present)
    {
        Change([present](auto& adapter) { adapter.Present = present; });
    }

    std::shared_ptr<CDeviceIntf> Open(const char* identity = "{dev}")
    {
        List(*Manager, "ZV_USB");
        _ZV_SRVC_DEVICE_INFO record{};
        std::string_view(identity).copy(record.NetCfgInstanceId, sizeof record.NetCfgInstanceId - 1);
        std::shared_ptr<CDeviceIntf> device;
        EXPECT_EQ(Manager->OpenDevice(&record, ZV_SRVC_DEVICE_UWP, device), ZV_SRVC_SUCCESS);
        return device;
    }

    Platform::AdapterId Adapter = Add("{dev}");
};
