// zvctl from the outside: the process, its output and its exit code.
#include "RunTool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <tuple>
#include <vector>

namespace
{

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Matcher;
using testing::Not;

Process::ToolResult Zvctl(const std::string& arguments, const std::string& machine = "")
{
    return Process::RunTool(ZVCTL_PATH, arguments, machine);
}

std::vector<std::string> ListedServices(const std::string& arguments)
{
    std::vector<std::string> services;
    for (const auto& adapter : nlohmann::json::parse(Zvctl("list --json " + arguments).Out))
        services.push_back(adapter.at("service"));
    return services;
}

std::string OneAdapterMachine(const std::string& service)
{
    return R"({"adapters": [{"netCfgInstanceId": "{1}", "hardwareId": "X", "service": ")" + service + "\"}]}";
}

struct Case
{
    const char* Arguments;
    int Code;
    Matcher<const std::string&> Out;
    Matcher<const std::string&> Err;
};

TEST(Zvctl, ExitCodesAndOutput)
{
    const Case cases[] = {
        {"", 0, AllOf(HasSubstr("zvwlanu"), HasSubstr("problem"), Not(HasSubstr("ethgb"))), IsEmpty()},
        {"list", 0, AllOf(HasSubstr("PCIe"), HasSubstr("SDIO"), HasSubstr("USB")), IsEmpty()},
        {"--version", 0, "zvctl " ZVCTL_VERSION "\n", IsEmpty()},
        {"--help", 0, AllOf(HasSubstr("list"), HasSubstr("Exit codes")), IsEmpty()},
        {"list --filter zv_usb", 1, IsEmpty(), "zvctl: list: GetZVDeviceList: ZV_SRVC_ERR_NO_DEVICE (13)\n"},
        {"list --filter ''", 1, IsEmpty(), HasSubstr("ZV_SRVC_ERR_INVALID_PARAMETER (12)")},
        {"list --instance NOWHERE", 1, IsEmpty(), HasSubstr("(13)")},
        {"list --unknown", 2, IsEmpty(), HasSubstr("--unknown")},
        {"walk", 2, IsEmpty(), HasSubstr("walk")},
        {"list --filter 12345678901234567890123456789012345678901234567890", 2, IsEmpty(), HasSubstr("49")},
        {"--trace loud", 2, IsEmpty(), HasSubstr("loud")},
        {"--trace 4:0x1G list", 2, IsEmpty(), HasSubstr("0x1G")},
        {"--trace 256 list", 2, IsEmpty(), HasSubstr("255")},
        {"--machine /nowhere/machine.json", 2, IsEmpty(), HasSubstr("/nowhere/machine.json")},
    };
    for (const Case& row : cases)
    {
        SCOPED_TRACE(row.Arguments);
        const Process::ToolResult result = Zvctl(row.Arguments);
        EXPECT_EQ(result.Code, row.Code);
        EXPECT_THAT(result.Out, row.Out);
        EXPECT_THAT(result.Err, row.Err);
    }
}

TEST(Zvctl, AFullDiskIsAFailure)
{
    const Process::ToolResult result = Zvctl("list >/dev/full #");
    EXPECT_EQ(result.Code, 1);
}

TEST(Zvctl, FiltersSelectByServiceAndByInstance)
{
    EXPECT_THAT(ListedServices(""), ElementsAre("zvwlanu", "zvlwlanu", "zvwlans", "zvwlane"));
    EXPECT_THAT(ListedServices("--filter ZV_USB"), ElementsAre("zvwlanu", "zvlwlanu"));
    EXPECT_THAT(ListedServices("--filter ZV_SDIO"), ElementsAre("zvwlans"));
    EXPECT_THAT(ListedServices("--filter zvwlane"), ElementsAre("zvwlane"));
    EXPECT_THAT(ListedServices("--filter ethgb"), ElementsAre("ethgb"));
    EXPECT_THAT(ListedServices("--instance 'PID_6301;VEN_5A56'"), ElementsAre("zvlwlanu", "zvwlane"));
}

TEST(Zvctl, JsonHasEveryFieldOfTheRecord)
{
    const auto expected = nlohmann::json::parse(R"([{
        "deviceName": "Zorvane WL900E Wi-Fi 6E PCIe Adapter",
        "driverKeyIndex": "0003",
        "deviceInstanceId": "PCI\\VEN_5A56&DEV_9001&SUBSYS_90015A56&REV_01\\4&1C5E8A90&0&00E4",
        "driverVersion": "2.1.0.58",
        "netCfgInstanceId": "{9B1D6F2C-57A8-4E0D-B3C4-0A6F8E215D74}",
        "infSection": "WL900E.ndi",
        "service": "zvwlane",
        "bus": "PCIe",
        "stateFlags": 1,
        "flags": ["problem"]
    }])");
    EXPECT_EQ(nlohmann::json::parse(Zvctl("list --filter ZV_PCIE --json").Out), expected);
}

TEST(Zvctl, TheMachineComesFromTheOptionThenTheEnvironment)
{
    const Process::TempFolder folder;
    const std::string one = folder.Write("one.json", OneAdapterMachine("zvwlans"));
    const std::string two = folder.Write("two.json", OneAdapterMachine("zvwlane"));
    EXPECT_THAT(Zvctl("list", one).Out, AllOf(HasSubstr("zvwlans"), Not(HasSubstr("zvwlanu"))));
    EXPECT_THAT(Zvctl("list --machine " + two, one).Out, AllOf(HasSubstr("zvwlane"), Not(HasSubstr("zvwlans"))));
}

TEST(Zvctl, ABrokenMachineFileIsNamedWithThePlace)
{
    const Process::TempFolder folder;
    const std::string broken = folder.Write("broken.json", "{\n  \"adapters\": [ { \n");
    for (const Process::ToolResult& result : {Zvctl("--machine " + broken), Zvctl("list", broken)})
    {
        EXPECT_EQ(result.Code, 2);
        EXPECT_THAT(result.Out, IsEmpty());
        EXPECT_THAT(result.Err, AllOf(HasSubstr(broken), HasSubstr("line 3")));
    }
}

TEST(Zvctl, TraceShowsBringUpAndEveryAcceptedAdapter)
{
    const Process::ToolResult result = Zvctl("--trace 4 list");
    EXPECT_EQ(result.Code, 0);
    EXPECT_THAT(result.Out, HasSubstr("zvwlane"));
    EXPECT_THAT(result.Err, AllOf(HasSubstr("service object is up"), HasSubstr("making a device manager"),
                                  HasSubstr("enumeration ends with status 0, 4 adapters")));
    for (const char* accepted : {"accepted \"Zorvane WL600U", "accepted \"Zorvane WL630U", "accepted \"Zorvane WL610S",
                                 "accepted \"Zorvane WL900E"})
        EXPECT_THAT(result.Err, HasSubstr(accepted));
}

TEST(Zvctl, TraceKeepsToItsLevelAndComponents)
{
    const std::string ordinary = Zvctl("--trace 3 list").Err;
    EXPECT_THAT(ordinary, AllOf(HasSubstr("accepted"), Not(HasSubstr("service object is up"))));
    const std::string service = Zvctl("list --trace 4:0x1").Err;
    EXPECT_THAT(service, AllOf(HasSubstr("service object is up"), Not(HasSubstr("accepted"))));
}

TEST(Zvctl, ASimulatedDriverInTheCurrentFolderTakesOver)
{
    const Process::ToolResult result = Process::RunTool(ZVCTL_PATH, "list", "", VIRTUAL_DRIVER_FOLDER);
    EXPECT_EQ(result.Code, 0);
    EXPECT_THAT(result.Out, AllOf(HasSubstr("Zorvane Virtual USB Adapter"), HasSubstr("Zorvane Virtual SDIO Adapter"),
                                  HasSubstr("Zorvane Virtual PCIe Adapter"), Not(HasSubstr("WL600U"))));
    EXPECT_THAT(result.Err, IsEmpty());
}

} // namespace
