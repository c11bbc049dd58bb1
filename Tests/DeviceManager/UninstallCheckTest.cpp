/// The uninstall watcher without its pauses.

#include "CDrvUninstallCheck.h"

#include "Faults.h"
#include "Hosting.h"

#include <gtest/gtest.h>

#include <functional>

namespace
{

using namespace std::chrono_literals;

struct CountingHandler final : CDrvUninstallNotifyHdlr
{
    void DrvUninstallHdlr(const ZVAdapterRecord& /*record*/) override { ++Told; }
    int Told = 0; ///< Read when the watcher has ended.
};

constexpr char ReadCall[] = "RegOpenKeyA";

TEST(UninstallCheck, ReadsUntilTheEntryIsDeletedAtMostFiftyTimes)
{
    Platform::ScopedMachine machine;
    machine->AddAdapter(GivenAdapter("{a}", "zvwlanu"));
    const ZVAdapterRecord record = std::make_shared<_ZV_SRVC_DEVICE_INFO>(List(*MakeManager(), "ZV_USB").Records.at(0));
    const struct
    {
        const char* Name;
        int Entries;
        std::function<void()> Before; ///< What happens to the entry.
        std::uint64_t Reads;
        int Told;
    } rows[] = {
        {"it stays", 2, [] {}, 100, 0},
        {"access denied is no verdict", 1, [&] { machine->FailCall(ReadCall, 1, 5, 100); }, 50, 0},
        {"it is deleted after the 2nd read", 1, [&] { machine->FailCall(ReadCall, 3, 2); }, 3, 1},
        {"its value is deleted", 2, [&] { machine->FailCall("RegQueryValueExA", 1, 2, 2); }, 2, 2},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.Name);
        machine->ClearFaults();
        row.Before();
        const std::uint64_t before = machine->Calls(ReadCall);
        CountingHandler handler;
        {
            CDrvUninstallCheck check(0ms);
            check.Add(std::make_shared<_ZV_SRVC_DEVICE_INFO>()); // It has no key that could be deleted.
            EXPECT_FALSE(check.StartCheck(&handler));
            for (int i = 0; i < row.Entries; ++i)
                check.Add(record);
            FailThreadStart(1);
            EXPECT_FALSE(check.StartCheck(&handler));
            EXPECT_FALSE(check.IsRunning());
            EXPECT_TRUE(check.StartCheck(&handler));
        }
        EXPECT_EQ(machine->Calls(ReadCall) - before, row.Reads);
        EXPECT_EQ(handler.Told, row.Told);
    }
}

} // namespace
