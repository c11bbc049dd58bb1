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
    EXPECT_EQ(base + u"0000", Box->Adapter(first).DriverKey);
    EXPECT_EQ(base + u"0002", add({}));
    Box->RemoveAdapter(first);
    EXPECT_EQ(base + u"0000", add({}));
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
    EXPECT_EQ(RegistryValue::Number(9), Box->Value(key, "DriverVersion"));
    Box->SetValue(key, "InfSection", RegistryValue::Text("stays"));
    Box->ChangeAdapter(id, [](AdapterDescription& adapter) {
        adapter.Values.clear();
        adapter.NetCfgInstanceId = "{2}";
        adapter.HasLinkage = false;
    });
    EXPECT_EQ(RegistryValue::Text("1"), Box->Value(key, "DriverVersion"));
    EXPECT_EQ(RegistryValue::Text("{2}"), Box->Value(key, "NetCfgInstanceId"));
    EXPECT_EQ(RegistryValue::Text("stays"), Box->Value(key, "InfSection"));
    EXPECT_FALSE(Box->KeyExists(key + "\\Linkage"));
    Box->ChangeAdapter(id, [](AdapterDescription& adapter) { adapter.HasDriverKey = false; });
    EXPECT_FALSE(Box->KeyExists(key));
}

TEST_F(MachineTest, AConcurrentChangeIsAppliedToFreshData)
{
    const auto id = Box->AddAdapter({});
    bool first = true;
    Box->ChangeAdapter(id, [&](AdapterDescription& adapter) {
        if (std::exchange(first, false))
            std::jthread([&] { Box->ChangeAdapter(id, [](auto& other) { other.Problem = 22; }); }).join();
        adapter.Hidden = true;
    });
    EXPECT_EQ(Box->Adapter(id).Problem, 22U);
    EXPECT_TRUE(Box->Adapter(id).Hidden);
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
