/// The uninstall watcher by itself, without its pauses.

#include "CDrvUninstallCheck.h"

#include "Faults.h"
#include "Hosting.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>

namespace
{

using namespace std::chrono_literals;

struct CountingHandler final : CDrvUninstallNotifyHdlr
{
    void DrvUninstallHdlr(const ZVAdapterRecord& /*record*/) override { ++Told; }
    int Told = 0; ///< Read when the watcher has ended.
};

constexpr char ReadCall[] = "RegOpenKeyA";

class UninstallCheck : public testing::Test
{
protected:
    UninstallCheck()
    {
        const Platform::AdapterId id = Machine->AddAdapter(GivenAdapter("{a}", "zvwlanu"));
        const std::u16string key = Machine->Adapter(id).DriverKey.value_or(u"none\\none");
        KeyPath = ClassPath + std::string(key.begin(), key.end());
        const std::string index = KeyPath.substr(KeyPath.rfind('\\') + 1);
        index.copy(Record->DriverKeyIndex, sizeof Record->DriverKeyIndex - 1);
    }

    /// Watches the record that many times over, to the end.
    void Watch(int entries)
    {
        CDrvUninstallCheck check(0ms);
        for (int i = 0; i < entries; ++i)
            check.Add(Record);
        EXPECT_TRUE(check.StartCheck(&Handler));
    }

    static constexpr char ClassPath[] = R"(SYSTEM\CurrentControlSet\Control\Class\)";
    Platform::ScopedMachine Machine;
    std::string KeyPath;
    ZVAdapterRecord Record = std::make_shared<_ZV_SRVC_DEVICE_INFO>();
    CountingHandler Handler;
};

TEST_F(UninstallCheck, ReadsUntilTheEntryIsDeletedAtMostFiftyTimes)
{
    const struct
    {
        const char* Name;
        int Entries;
        std::function<void()> Before; ///< What happens to the entry.
        std::uint64_t Reads;
        int Told;
    } rows[] = {
        {"it stays", 1, [] {}, 50, 0},
        {"it stays, twice", 2, [] {}, 100, 0},
        {"access denied is no verdict", 1, [&] { Machine->FailCall(ReadCall, 1, 5, 100); }, 50, 0},
        {"it goes behind the 2nd read", 1, [&] { Machine->FailCall(ReadCall, 3, 2); }, 3, 1},
        {"its value is gone", 2, [&] { Machine->FailCall("RegQueryValueExA", 1, 2, 2); }, 2, 2},
        {"its key is gone", 2, [&] { Machine->DeleteTree(KeyPath); }, 2, 2},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.Name);
        Machine->ClearFaults();
        row.Before();
        Handler.Told = 0;
        const std::uint64_t before = Machine->Calls(ReadCall);
        Watch(row.Entries);
        EXPECT_EQ(Machine->Calls(ReadCall) - before, row.Reads);
        EXPECT_EQ(Handler.Told, row.Told);
        Machine->OnCall(ReadCall, nullptr);
    }
}

TEST_F(UninstallCheck, StartsOnceAndOnlyWithRecords)
{
    CDrvUninstallCheck check(0ms);
    check.Add(std::make_shared<_ZV_SRVC_DEVICE_INFO>()); // It has no key that could go.
    EXPECT_FALSE(check.StartCheck(&Handler));
    check.Add(Record);
    FailThreadStart(1);
    EXPECT_FALSE(check.StartCheck(&Handler));
    EXPECT_FALSE(check.IsRunning());
    std::promise<void> go;
    Machine->OnCall(ReadCall, [read = go.get_future().share()] { read.wait(); });
    Machine->DeleteTree(KeyPath);
    EXPECT_TRUE(check.StartCheck(&Handler));
    EXPECT_FALSE(check.StartCheck(&Handler)) << "it is at its first read";
    go.set_value();
}

} // namespace
