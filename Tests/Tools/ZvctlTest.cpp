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
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::EndsWith;
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

/// @param more further members of the adapter.
std::string OneAdapterMachine(const std::string& service, const std::string& more = "")
{
    return R"({"adapters": [{"netCfgInstanceId": "{1}", "hardwareId": "X", "service": ")" + service + "\"" + more +
           "}]}";
}

std::string DriverMachine(const std::string& settings)
{
    return OneAdapterMachine("zvwlane", R"(, "controlDevice": {"name": "Zorvane_Wifi_Device{1}",
        "module": "ZVDriverModel.dll", "settings": )" +
                                            settings + "}");
}

struct Case
{
    const char* Arguments;
    int Code;
    Matcher<const std::string&> Out;
    Matcher<const std::string&> Err = IsEmpty();
};

void Check(const std::vector<Case>& cases, const std::string& machine = "",
           const std::filesystem::path& folder = std::filesystem::temp_directory_path())
{
    for (const Case& row : cases)
    {
        SCOPED_TRACE(row.Arguments);
        const Process::ToolResult result = Process::RunTool(ZVCTL_PATH, row.Arguments, machine, folder);
        EXPECT_EQ(result.Code, row.Code);
        EXPECT_THAT(result.Out, row.Out);
        EXPECT_THAT(result.Err, row.Err);
    }
}

/// What the drivers of the built-in machine answer to an asynchronous request.
std::string DriverResponse()
{
    std::string response;
    for (int i = 0; i < 450; ++i)
        response += static_cast<char>(i % 251);
    return response;
}

TEST(Zvctl, ExitCodesAndOutput)
{
    Check({
        {"list", 0, AllOf(HasSubstr("PCIe"), HasSubstr("zvwlanu"), HasSubstr("problem"), Not(HasSubstr("ethgb")))},
        {"--version", 0, "zvctl " ZVCTL_VERSION "\n"},
        {"--help", 0, AllOf(HasSubstr("list"), HasSubstr("Exit codes"))},
        {"reg read --help", 0, HasSubstr("ADAPTER [SUBKEY] NAME\n")},
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
        {"get 0 0x10", 2, IsEmpty(), HasSubstr("LENGTH is required")},
        {"get 0 1x 6", 2, IsEmpty(), HasSubstr("1x")},
        {"get 0 0x10 0x4000001", 2, IsEmpty(), HasSubstr("67108864")},
        {"get 0 0x10 6 --raw --json", 2, IsEmpty(), HasSubstr("excludes")},
        {"set 0 0x10 010", 2, IsEmpty(), HasSubstr("\"010\" is not pairs")},
        {"set 0 0x10 0g", 2, IsEmpty(), HasSubstr("0g")},
        {"set 0 0x10 @/nowhere", 2, IsEmpty(), HasSubstr("/nowhere: cannot be read: No such file")},
        {"set 0 0x10 @/dev/zero", 2, IsEmpty(), HasSubstr("more than 67108864 bytes")},
        {"ioctl 0 1 --id 65536", 2, IsEmpty(), HasSubstr("65535")},
        {"ioctl 0 1 --patience 5", 2, IsEmpty(), HasSubstr("--async")},
        {"reg write 0 N --type dword --data 0x100000000", 2, IsEmpty(), HasSubstr("0x100000000")},
        {"reg write 0 N --data 1 --type qword", 2, IsEmpty(), HasSubstr("qword")},
        {"reg read 0 A B C", 2, IsEmpty(), HasSubstr("At Most 2")},
        {"reg", 2, IsEmpty(), HasSubstr("subcommand")},
    });
}

TEST(Zvctl, AnAdapterIsFoundByIndexIdentityOrPart)
{
    const Process::TempFolder folder;
    const std::string twins = folder.Write("twins.json", R"({"adapters": [
        {"netCfgInstanceId": "{1}", "hardwareId": "X", "service": "zvwlane", "friendlyName": "Twin #2"},
        {"netCfgInstanceId": "{2}", "hardwareId": "X", "service": "zvwlane", "friendlyName": "Twin",
         "values": {"ZVSrvcLibSupport": {"type": "sz", "value": "7"}}}]})");
    Check({{"ability 0", 0, "3\n"},
           {"ability wl630u", 0, "12\n"},
           {"ability '{3f0c2a84-6e1b-4d57-9a2e-71b5c80d4f16}'", 0, "3\n"},
           {"ability 4D57", 0, "3\n"},
           {"ability Wi-Fi", 1, IsEmpty(),
            AllOf(HasSubstr("\"Wi-Fi\" matches several adapters:\n  0  {3F0C"), HasSubstr("\n  3  {9B1D"),
                  Not(HasSubstr("WL610S")))},
           {"ability 600", 1, IsEmpty(), AllOf(HasSubstr("\"600\" matches no adapter"), HasSubstr("WL900E"))}});
    Check({{"ability twin", 0, "7\n"}, {"ability Twi", 1, IsEmpty(), HasSubstr("several")}}, twins);
}

TEST(Zvctl, InfoShowsTheRecord)
{
    Check({{"info WL610S", 0,
            AllOf(HasSubstr("name                Zorvane WL610S SDIO Module\n"), HasSubstr("zvwlans\n"),
                  HasSubstr("state flags         0x0 (ready)\n"))},
           {"info 3", 1, IsEmpty(), "zvctl: info: OpenDevice: ZV_SRVC_ERR_DEVICE_NOT_OPEN (14)\n"},
           {"ability 2", 1, IsEmpty(), "zvctl: ability: GetAbility: ZV_SRVC_ERR_ABILITY_QUERY (5)\n"}});
    EXPECT_EQ(nlohmann::json::parse(Zvctl("info 1 --json").Out), nlohmann::json::parse(Zvctl("list --json").Out).at(1));
}

TEST(Zvctl, RequestsReachTheDriver)
{
    const Process::TempFolder folder;
    folder.Write("input", "two\nlines");
    Check({{"get 0 0x11 18", 0,
            "00000000  57 4c 36 30 30 55 00 00 00 00 00 00 00 00 00 00  |WL600U..........|\n"
            "00000010  00 00                                            |..|\n"},
           {"get 0 17 6 --raw", 0, "WL600U"},
           {"get 2 0x10 6 --json", 0,
            AllOf(HasSubstr("\"{61D80B3E"), HasSubstr("\"id\": 16"), HasSubstr(R"("data": "001122334455")"))},
           {"set 0 0x10 '0a:0b-0c 0d'", 0, IsEmpty()},
           {"ioctl 0 0x222000 --in '0a:0b-0c 0d' --out 5", 0, HasSubstr("  0a 0b 0c 0d 00  ")},
           {"ioctl 0 0x222000 --in text:hello --out 4 --raw", 0, "hell"},
           {"ioctl 0 0x222000 --in @input --out 9 --raw", 0, "two\nlines"},
           {"ioctl 0 0x222000 --out 2 --id 7 --json", 0,
            AllOf(HasSubstr("\"requestId\": 7"), HasSubstr("\"async\": false"), HasSubstr(R"("data": "0000")"))},
           {"ioctl 0 0x222000 --async --in 01 --out 450 --raw", 0, DriverResponse()},
           {"ioctl 1 0x222000 --async --out 3", 0,
            "callback: status 0\n00000000  00 01 02" + std::string(41, ' ') + "|...|\n"}},
          "", folder.Path);
}

TEST(Zvctl, RegistryValuesArePrintedByType)
{
    const Process::TempFolder folder;
    const std::string machine = folder.Write("values.json", OneAdapterMachine("zvwlane", R"(, "values": {
        "Bytes": {"type": "binary", "value": "0a0b"}, "Path": {"type": "expand_sz", "value": "%here%"}})"));
    Check({{"reg read 0 DriverVersion", 0, "3.4.1.207\n"},
           {"reg read WL600U ZVSrvcLibSupport", 0, "3 (0x3)\n"},
           {"reg read 0 NDI Service --json", 0, "{\n  \"type\": \"sz\",\n  \"value\": \"ZvWlanU\"\n}\n"},
           {"reg read 0 ZVSrvcLibSupport --raw", 0, std::string("\3\0\0\0", 4)},
           {"reg write 0 Sub N --type binary --data text:x", 0, IsEmpty()},
           {"reg delete 0 DriverVersion", 0, IsEmpty()},
           {"reg read 0 Nothing", 1, IsEmpty(), "zvctl: reg read: AccessRegistry: ZV_SRVC_ERR_FAILURE (1)\n"},
           {"reg delete 0 Nothing", 1, IsEmpty(), "zvctl: reg delete: AccessRegistry: ZV_SRVC_ERR_FAILURE (1)\n"},
           {"reg write 3 N --data x", 1, IsEmpty(), HasSubstr("reg write: OpenDevice: ZV_SRVC_ERR_DEVICE_NOT_OPEN")}});
    Check({{"reg read 0 Bytes", 0, HasSubstr("  0a 0b  ")}, {"reg read 0 Path", 0, "%here%\n"}}, machine);
}

TEST(Zvctl, AMisbehavingDriverIsReported)
{
    const Process::TempFolder folder;
    Check({{"get 0 1 4", 1, IsEmpty(), "zvctl: get: SetQueryInfo: ZV_SRVC_ERR_DRIVER_REQUEST (2)\n"},
           {"ioctl 0 1 --timeout 5", 1, IsEmpty(), "zvctl: ioctl: SendIOCTLReq: ZV_SRVC_ERR_FAILURE (1)\n"},
           {"ioctl 0 1 --timeout 5 --async", 1, IsEmpty(), HasSubstr("callback reports status 1")}},
          folder.Write("slow.json", DriverMachine(R"({"slowMs": 100})")));
    // The library is still waiting for the response when the tool gives up and ends.
    Check({{"ioctl 0 1 --async --timeout 0 --patience 20", 1, IsEmpty(), HasSubstr("no callback within 20 ms")}},
          folder.Write("silent.json", DriverMachine(R"({"silent": true})")));
}

TEST(Zvctl, TheDefaultCommandIsATourOfEverything)
{
    const std::string lines = "get         item 0x10 is 01 02 03 04 05 06\n"
                              "set         item 0x10 to 5a 56 03 02 01 00\n"
                              "get         item 0x10 is 5a 56 03 02 01 00, as set\n"
                              "set         item 0x10 back to 01 02 03 04 05 06\n"
                              "ioctl       request 0x222000: sent c0 ff ee 00, received c0 ff ee 00\n"
                              "ioctl async request 0x222004: sent 450 bytes, callback with status 0, "
                              "received 450 bytes in 3 chunks: 00 01 02 03 .. c3 c4 c5 c6\n"
                              "reg write   ZvctlTour = \"was here\" (sz)\n"
                              "reg read    ZvctlTour = \"was here\" (sz)\n"
                              "reg delete  ZvctlTour\n"
                              "watch       on, 4 adapters\n"
                              "unplug      status-changed; 0x0 ready -> 0x4 absent\n"
                              "plug        arrived; 0x4 absent -> 0x0 ready\n";
    // Any enumeration finds the faulted WL900E absent, which may add an event.
    const std::string events = "disable +status-changed[a-z, -]*; 0x0 ready -> 0x5 problem,absent\n"
                               "enable +[a-z, -]*arrived; 0x5 problem,absent -> 0x[01] [a-z]+\n"
                               "arrival +(arrived; 0x1 problem -> 0x0 ready|skipped: already ready)\n"
                               "suspend +suspend; 0x0 ready unchanged\n"
                               "resume +resume, resume; 0x0 ready unchanged\n"
                               "uninstall +[a-z, -]*driver-uninstalled[a-z, -]*";
    const std::string end = "; 0x0 ready -> 0x14 absent,driver-uninstalled\n";
    Check(
        {{"", 0,
          AllOf(HasSubstr("4 adapters"), HasSubstr("WL600U"), HasSubstr(lines), ContainsRegex(events), EndsWith(end))},
         {"tour SDIO", 0, AllOf(HasSubstr("WL610S"), HasSubstr("back to 00 11 22 33 44 55"), EndsWith(end))}});

    const Process::TempFolder folder;
    Check({{"", 1,
            AllOf(HasSubstr("open        FAILED: OpenDevice: ZV_SRVC_ERR_CONTROL_DEVICE (15)\n"),
                  HasSubstr("get         FAILED: SetQueryInfo: ZV_SRVC_ERR_DRIVER_REQUEST (2)\n"),
                  HasSubstr("reg read    ZvctlTour = \"was here\" (sz)\n"), ContainsRegex(events), EndsWith(end)),
            "zvctl: tour: 6 of the steps failed\n"},
           {"info 0", 1, IsEmpty(), "zvctl: info: OpenDevice: ZV_SRVC_ERR_CONTROL_DEVICE (15)\n"},
           {"reg read 0 NetCfgInstanceId", 0, "{1}\n"}},
          folder.Write("mute.json", OneAdapterMachine("zvwlans")));
    Check({{"", 1, HasSubstr("choose      FAILED: no adapter is ready\n"), HasSubstr("1 of the steps")}},
          folder.Write("problem.json", OneAdapterMachine("zvwlans", ", \"problem\": 22")));
}

TEST(Zvctl, WarnsOfInputWhoseLengthTheDriverCannotSee)
{
    const Process::TempFolder folder;
    for (const auto& [command, size, warns] : {std::tuple("ioctl 0 0x12245c --in @", 65535U, false),
                                               {"ioctl 0 0x12245c --in @", 65536U, true},
                                               {"set 0 0x10 @", 65495U, false},
                                               {"set 0 0x10 @", 65496U, true}})
    {
        const std::string file = folder.Write("data", std::string(size, 'x'));
        const std::string err = Zvctl(command + file).Err;
        EXPECT_EQ(warns, err.starts_with("zvctl: warning: " + std::to_string(size) + " input bytes; ")) << err;
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

TEST(Zvctl, ABrokenMachineFileIsReportedWithThePosition)
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

TEST(Zvctl, TraceIsLimitedToItsLevelAndComponents)
{
    const std::string ordinary = Zvctl("--trace 3 list").Err;
    EXPECT_THAT(ordinary, AllOf(HasSubstr("accepted"), Not(HasSubstr("service object is up"))));
    const std::string service = Zvctl("list --trace 4:0x1").Err;
    EXPECT_THAT(service, AllOf(HasSubstr("service object is up"), Not(HasSubstr("accepted"))));
}

TEST(Zvctl, ASimulatedDriverInTheCurrentFolderTakesOver)
{
    Check({{"list", 0,
            AllOf(HasSubstr("Zorvane Virtual USB Adapter"), HasSubstr("Zorvane Virtual SDIO Adapter"),
                  HasSubstr("Zorvane Virtual PCIe Adapter"), Not(HasSubstr("WL600U")))},
           {"tour", 1,
            EndsWith("reg delete  ZvctlTour\nevents      left out: a simulated driver's adapter, which nothing "
                     "that happens here reaches\n"),
            "zvctl: tour: 1 of the steps failed\n"}, // no callback
           {"ioctl SDIO 1 --in text:echo --out 4 --raw", 0, "echo"},
           {"ioctl 0 1 --async --timeout 0 --patience 20", 1, IsEmpty(),
            HasSubstr("ioctl: SendIOCTLReq: no callback within 20 ms; a simulated driver never calls back\n")}},
          "", VIRTUAL_DRIVER_FOLDER);
}

} // namespace
