/// The command-line host, on adapters of the system.

#include "AsyncRequest.h"
#include "OSPlatform.h"
#include "RootAdapter.h"
#include "TestMachine.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

namespace
{

constexpr std::uint32_t Code = 0x99000000;

/// One run of zvctl.exe from this program's folder. Its output is redirected to a file, because processes that
/// Wine starts in the background keep the program's outputs open for longer.
class ToolRun
{
public:
    ToolRun() = default;
    ~ToolRun() { DeleteFileA(Said.c_str()); }
    ToolRun(const ToolRun&) = delete;
    ToolRun& operator=(const ToolRun&) = delete;

    /// @return its output, followed by its exit code on a separate line.
    std::string Finish(const std::string& arguments) const
    {
        char self[MAX_PATH];
        GetModuleFileNameA(nullptr, self, sizeof self);
        std::string line = std::filesystem::path(self).replace_filename("zvctl.exe").string();
        line.append(" ").append(arguments).append(" >").append(Said).append(" 2>&1");
        const int code = std::system(line.c_str());
        return Printed() + std::to_string(code) + "\n";
    }

    std::string Printed() const
    {
        std::ifstream file(Said, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    static std::string NewFile()
    {
        char name[MAX_PATH];
        GetTempFileNameA(std::filesystem::temp_directory_path().string().c_str(), "zv", 0, name);
        return name;
    }

    const std::string Said = NewFile();
};

std::string Output(const std::string& arguments)
{
    return ToolRun().Finish(arguments);
}

class Zvctl : public testing::Test
{
protected:
    Zvctl() { RemoveRegistryAdapters(); }

    ~Zvctl() override
    {
        RemoveRegistryAdapters();
        EXPECT_EQ(Driver.Counts().Malformed, 0U);
        EXPECT_EQ(Driver.Counts().Opens, 0U);
    }

    TestDriver Driver{"{kernel}"};
};

TEST_F(Zvctl, ListsAndOpensInstalledAdapters)
{
    AddRegistryAdapter(77, "{kernel}", "zvwlanu");
    AddRegistryAdapter(78, "{deaf}", "zvwlane"); // It has no control device.
    EXPECT_EQ(Output("list"), "#  NAME          BUS   SERVICE  VERSION  IDENTITY  FLAGS\n"
                              "0  Adapter 0077  USB   zvwlanu  1.2.3.4  {kernel}  ready\n"
                              "1  Adapter 0078  PCIe  zvwlane  1.2.3.4  {deaf}    ready\n0\n");
    EXPECT_EQ(Output("info {kernel}"), "name                Adapter 0077\n"
                                       "driver key index    0077\n"
                                       "device instance ID  PCI\\VEN_1234&DEV_5678\\0077\n"
                                       "driver version      1.2.3.4\n"
                                       "NetCfgInstanceId    {kernel}\n"
                                       "INF section         Zorvane.ndi\n"
                                       "service             zvwlanu\n"
                                       "bus                 USB\n"
                                       "state flags         0x0 (ready)\n0\n");
    EXPECT_EQ(Output("info 1"), "zvctl: info: OpenDevice: ZV_SRVC_ERR_CONTROL_DEVICE (15)\n1\n");
}

TEST_F(Zvctl, SendsRequestsToTheDriver)
{
    AddRegistryAdapter(77, "{kernel}", "zvwlanu");
    EXPECT_EQ(Output("set 0 0x1234 0a0b0c"), "0\n");
    EXPECT_EQ(Output("get 0 0x1234 3"), "00000000  0a 0b 0c                                         |...|\n0\n");
    Driver.Respond(Code, Bytes(300, 'x'));
    EXPECT_EQ(Output("ioctl 0 0x99000000 --async --out 300 --raw"), std::string(300, 'x') + "0\n");
    Driver.On(Code, TestDriver::EndWith(31));
    EXPECT_EQ(Output("ioctl 0 0x99000000 --async --out 300"),
              "zvctl: ioctl: SendIOCTLReq: the callback reports status 1; the request could not be sent\n1\n");
    Driver.On(Code, TestDriver::EndWith(0, {'o', 'k'}));
    EXPECT_EQ(Output("ioctl 0 0x99000000 --out 2 --raw"), "ok0\n");
    EXPECT_EQ(Output("reg write 0 Speed --type dword --data 300"), "0\n");
    EXPECT_EQ(Output("reg read 0 Speed"), "300 (0x12c)\n0\n");
}

TEST_F(Zvctl, WatchPrintsArrivalAndRemoval)
{
    RemoveRootAdapter();
    const ToolRun tool;
    auto watch = std::async(std::launch::async, [&tool] { return tool.Finish("watch --count 2 --for 40"); });
    // Polls, because a growing file sends no notification.
    const auto hasPrinted = [&tool](const char* text) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (std::chrono::steady_clock::now() < end && tool.Printed().find(text) == std::string::npos)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return tool.Printed().find(text) != std::string::npos;
    };
    while (!hasPrinted("watching 0 adapters\n"))
        ;
    EXPECT_EQ(InstallRootAdapterUntil([&] { return hasPrinted("test adapter: new, ready, driver 1.2.3.4\n"); }), 0U);
    EXPECT_EQ(RemoveRootAdapter(), 0U);
    EXPECT_TRUE(watch.get().ends_with("Zorvane test adapter: ready -> absent\n0\n"));
}

} // namespace
