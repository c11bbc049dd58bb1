#include "Expect.h"

#include <cstdlib>
#include <future>
#include <thread>

namespace
{

using Platform::AdapterDescription;
using Platform::RegistryValue;

using MachineTest = OnMachine;

LSTATUS OpenSoftware()
{
    HKEY key = nullptr;
    const LSTATUS result = RegOpenKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE", &key);
    if (result == ERROR_SUCCESS)
        RegCloseKey(key);
    return result;
}

TEST_F(MachineTest, AssignsTheLowestFreeDriverKey)
{
    const std::u16string base = u"{4D36E972-E325-11CE-BFC1-08002BE10318}\\";
    const auto add = [&](const AdapterDescription& adapter) {
        return Box->Adapter(Box->AddAdapter(adapter)).DriverKey;
    };
    Box->AddAdapter({.DriverKey = base + u"0001", .HasDriverKey = false});
    const auto first = Box->AddAdapter({});
    EXPECT_EQ(Box->Adapter(first).DriverKey, base + u"0000");
    EXPECT_EQ(add({}), base + u"0002");
    Box->RemoveAdapter(first);
    EXPECT_EQ(add({}), base + u"0000");
    EXPECT_EQ(add({.AssignDriverKey = false}), std::nullopt);
    EXPECT_THROW(Box->Adapter(first), std::out_of_range);
    EXPECT_THROW(Box->RemoveAdapter(first), std::out_of_range);
}

TEST_F(MachineTest, OnlyChangedValuesAreWrittenToTheRegistry)
{
    AdapterDescription described{.DriverVersion = "1", .InfSection = "a", .DriverKey = u"{C}\\7"};
    described.Values["driverversion"] = RegistryValue::Number(9);
    const auto id = Box->AddAdapter(described);
    const std::string key = R"(SYSTEM\CurrentControlSet\Control\Class\{C}\7)";
    EXPECT_EQ(Box->Value(key, "DriverVersion"), RegistryValue::Number(9));
    Box->SetValue(key, "InfSection", RegistryValue::Text("stays"));
    Box->ChangeAdapter(id, [](AdapterDescription& adapter) {
        adapter.Values.clear();
        adapter.NetCfgInstanceId = "{2}";
        adapter.HasLinkage = false;
    });
    EXPECT_EQ(Box->Value(key, "DriverVersion"), RegistryValue::Text("1"));
    EXPECT_EQ(Box->Value(key, "NetCfgInstanceId"), RegistryValue::Text("{2}"));
    EXPECT_EQ(Box->Value(key, "InfSection"), RegistryValue::Text("stays"));
    EXPECT_FALSE(Box->KeyExists(key + "\\Linkage"));
    Box->ChangeAdapter(id, [](AdapterDescription& adapter) { adapter.HasDriverKey = false; });
    EXPECT_FALSE(Box->KeyExists(key));
}

TEST_F(MachineTest, CallerWithoutRightsOnlyReadsTheRegistry)
{
    Box->SetValue("SOFTWARE\\A", "Old", RegistryValue::Number(1));
    Box->SetCallerRights(false);
    HKEY opened = nullptr;
    EXPECT_EQ(RegCreateKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\New", &opened), ERROR_ACCESS_DENIED);
    for (const auto open : {&RegOpenKeyA, &RegCreateKeyA})
    {
        ASSERT_EQ(open(HKEY_LOCAL_MACHINE, "SOFTWARE\\A", &opened), ERROR_SUCCESS) << "for reading";
        const Opened key = opened;
        EXPECT_EQ(RegQueryValueExA(key, "Old", nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
        EXPECT_EQ(RegDeleteKeyValueA(key, nullptr, "Old"), ERROR_ACCESS_DENIED);
        Box->SetCallerRights(true);
        EXPECT_EQ(RegSetValueExA(key, "New", 0, REG_SZ, nullptr, 0), ERROR_ACCESS_DENIED) << "rights of the open";
        Box->SetCallerRights(false);
    }
    EXPECT_EQ(RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\A"), ERROR_ACCESS_DENIED);
    EXPECT_FAILS_WITH(ERROR_ACCESS_DENIED, SetupDiOpenClassRegKey(nullptr, KEY_ALL_ACCESS) != INVALID_HANDLE_VALUE);
}

TEST(DefaultMachineTest, AnswersWhileTheProcessEnds)
{
    const auto endWithThreadAlive = [] {
        std::promise<void> running;
        std::thread([&running] {
            OpenSoftware();
            running.set_value();
            while (OpenSoftware() == ERROR_SUCCESS)
                continue;
            std::abort();
        }).detach();
        running.get_future().wait();
        std::exit(0);
    };
    EXPECT_EXIT(endWithThreadAlive(), testing::ExitedWithCode(0), "");
}

} // namespace
