// The samples as users meet them.
#include "EventClient.h"
#include "RunTool.h"
#include "VirtualDriver.h"

#include <ZVDeviceInfo.h>
#include <ZVRequests.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

namespace
{

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* DriverFile = VIRTUAL_DRIVER_FOLDER "/VirtualDriver_UWP.dll";

TEST(SampleHost, WorksWithTheMachineOfTheEnvironment)
{
    const Process::ToolResult result = Process::RunTool(SAMPLE_HOST_PATH, "", DEFAULT_MACHINE);
    EXPECT_EQ(result.Code, 0);
    EXPECT_THAT(result.Out, HasSubstr("{9B1D6F2C-57A8-4E0D-B3C4-0A6F8E215D74}  zvwlane  "
                                      "Zorvane WL900E Wi-Fi 6E PCIe Adapter  0x1\n"
                                      "answer 56 5a 00 00\nresponse 00 01 02 03\n"));
}

TEST(SampleHost, WorksWithTheSimulatedDriver)
{
    const Process::ToolResult result = Process::RunTool(SAMPLE_HOST_PATH, "", DEFAULT_MACHINE, VIRTUAL_DRIVER_FOLDER);
    EXPECT_EQ(result.Code, 0);
    EXPECT_EQ(std::ranges::count(result.Out, '\n'), 5);
    EXPECT_THAT(result.Out, AllOf(HasSubstr("  zvwlans  Zorvane Virtual SDIO Adapter  0x0\n"),
                                  HasSubstr("answer 56 5a 00 00\nno response\n")));
}

TEST(SampleHost, ReportsThatThereIsNoAdapter)
{
    const Process::ToolResult result = Process::RunTool(SAMPLE_HOST_PATH, "");
    EXPECT_EQ(result.Code, 1);
    EXPECT_EQ(result.Err, "sample_host: no adapter\n");
}

TEST(SampleHost, IsWhatTheReadmeShows)
{
    const std::string source = Process::FileText(SOURCE_FOLDER "/Samples/List/List.cpp");
    const std::string shown = source.substr(source.find('\n') + 1);
    EXPECT_THAT(Process::FileText(SOURCE_FOLDER "/README.md"), HasSubstr("```cpp\n" + shown + "```\n"));
}

/// Calls the entry points of the simulated driver directly.
class VirtualDriver : public testing::Test
{
protected:
    template <class Entry>
    Entry* Find(const char* name) const
    {
        void* const entry = dlsym(Module, name);
        EXPECT_NE(entry, nullptr) << name;
        return reinterpret_cast<Entry*>(entry);
    }

    ~VirtualDriver() override { dlclose(Module); } // only counts: the driver keeps its adapters until the process ends

    void* const Module = dlopen(DriverFile, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    decltype(Virtual_EnumZVDevice)* const Enum = Find<decltype(Virtual_EnumZVDevice)>("Virtual_EnumZVDevice");
    decltype(Virtual_Dev_SetQueryInfo)* const SetQuery =
        Find<decltype(Virtual_Dev_SetQueryInfo)>("Virtual_Dev_SetQueryInfo");
    decltype(Virtual_AccessRegistry)* const Registry = Find<decltype(Virtual_AccessRegistry)>("Virtual_AccessRegistry");
    decltype(Virtual_SendIOCTLReq)* const Ioctl = Find<decltype(Virtual_SendIOCTLReq)>("Virtual_SendIOCTLReq");

    static constexpr const char* First = "{5A560001-0000-4000-8000-000000000001}";
    static constexpr const char* Second = "{5A560001-0000-4000-8000-000000000002}";
};

TEST_F(VirtualDriver, KeepsItemsPerAdapter)
{
    std::array<std::uint8_t, 4> item = {1, 2, 3, 4};
    SetQuery(First, 1, 7, item.data(), 3);
    SetQuery(First, 0, 7, item.data(), 4);
    EXPECT_THAT(item, ElementsAre(1, 2, 3, 0));
    SetQuery(Second, 0, 7, item.data(), 4);
    EXPECT_THAT(item, ElementsAre(0, 0, 0, 0));
}

TEST_F(VirtualDriver, IgnoresCallsWithNullPointers)
{
    EnumDescriptor descriptor = {7240, 0, nullptr};
    std::array<_ZV_SRVC_DEVICE_INFO, 10> records{};
    Enum(nullptr, &descriptor);
    Enum(records.data(), nullptr);
    std::uint8_t byte = 9;
    std::uint32_t type = 3;
    std::uint32_t size = 1;
    for (const char* name : {static_cast<const char*>(nullptr), First})
    {
        SetQuery(name, 1, 7, nullptr, 1);
        Ioctl(name, 0x1234, 1, nullptr, 1, nullptr, 1, 300);
        for (const std::uint32_t operation : {ZV_REG_OP_READ, ZV_REG_OP_WRITE, ZV_REG_OP_DELETE_VALUE})
        {
            Registry(name, operation, nullptr, nullptr, nullptr, nullptr, nullptr);
            Registry(name, operation, "sub", "value", nullptr, &byte, &size);
            Registry(name, operation, "sub", "value", &type, &byte, nullptr);
        }
        Registry(name, ZV_REG_OP_WRITE, "sub", "value", &type, nullptr, &size);
    }
    Registry(First, ZV_REG_OP_READ, "sub", "value", &type, &byte, &size);
    EXPECT_EQ(size, 0U) << "nothing was written";
}

TEST_F(VirtualDriver, RejectsAScriptWithASyntaxError)
{
    auto* const script = Find<decltype(VirtualDriver_Script)>("VirtualDriver_Script");
    EXPECT_EQ(script(nullptr), 0);
    for (const char* text : {"", "0", "0:", ":suspend", "0:remove", "0:remove ", "0:remove 3", "0:remove -1",
                             "0:remove 1x", "0:suspend 1", "0:suspended", "0:sleep", "-1:suspend", "3600001:suspend",
                             "x:suspend", "0:suspend;", ";0:suspend", "0:suspend; 0:resume"})
    {
        testing::internal::CaptureStderr();
        EXPECT_EQ(script(text), 0) << text;
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("\" is no step: ")) << text;
    }
}

/// Loaded by the library, as for a host.
TEST(VirtualDriverWithTheLibrary, ItsMessagesReachAClient)
{
    std::filesystem::current_path(VIRTUAL_DRIVER_FOLDER);
    setenv("ZV_VIRTUAL_SCRIPT", "0:remove 1", 1);
    const auto manager = MakeManager();
    EventClient* const client = MakeClient(*manager);
    void* const driver = dlopen("./VirtualDriver_UWP.dll", RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(driver, nullptr);
    const auto script = reinterpret_cast<decltype(&VirtualDriver_Script)>(dlsym(driver, "VirtualDriver_Script"));
    dlclose(driver);

    // Each row ends with a suspend. The first one may or may not see the event of the step above.
    EXPECT_EQ(script("0:suspend"), 1);
    client->TakeUntil(ZV_EVT_SYSTEM_SUSPEND);
    EXPECT_EQ(List(*manager, "ZV_ALL").Records.at(1).StateFlags, ZV_DEV_ABSENT);
    const struct
    {
        const char* Steps;
        std::vector<std::uint32_t> Events;
        std::uint32_t Flags;
    } cases[] = {{"0:resume;0:suspend", {ZV_EVT_SYSTEM_RESUME, ZV_EVT_SYSTEM_RESUME}, ZV_DEV_ABSENT},
                 {"1:arrive 1;0:suspend", {ZV_EVT_DEVICE_ARRIVED}, 0},
                 {"0:remove 1;1:suspend", {ZV_EVT_DEVICE_STATUS_CHANGED}, ZV_DEV_ABSENT}};
    for (const auto& [steps, events, flags] : cases)
    {
        EXPECT_EQ(script(steps), 1);
        EXPECT_EQ(client->TakeUntil(ZV_EVT_SYSTEM_SUSPEND), events) << steps;
        EXPECT_EQ(List(*manager, "ZV_ALL").Records.at(1).StateFlags, flags) << steps;
    }
    EXPECT_EQ(script("3600000:arrive 1"), 1) << "the end of the process does not wait for it";
}

} // namespace
