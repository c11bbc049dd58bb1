// zvctl's sessions from the outside: lines, events, signals.
#include "RunTool.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <pty.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

using nlohmann::json;
using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Matcher;

Process::ToolResult Session(const std::string& arguments, const std::string& lines, const std::string& machine = "")
{
    return Process::RunTool(ZVCTL_PATH, arguments, machine, std::filesystem::temp_directory_path(), lines);
}

struct Case
{
    const char* Lines;
    int Code;
    Matcher<const std::string&> Out;
    Matcher<const std::string&> Err = IsEmpty();
};

void CheckScripts(const std::vector<Case>& cases, const std::string& machine = "")
{
    for (const Case& row : cases)
    {
        const Process::ToolResult result = Session("script -", row.Lines, machine);
        EXPECT_EQ(result.Code, row.Code) << row.Lines;
        EXPECT_THAT(result.Out, row.Out) << row.Lines;
        EXPECT_THAT(result.Err, row.Err) << row.Lines;
    }
}

TEST(ZvctlScript, CutsLinesIntoWords)
{
    CheckScripts({
        {"\n \t# nothing\nability 0 # three\r\n", 0, "3\n"},
        {"ability 'WL600U Wi-Fi'\nability \"#2\"\nability WL6'3'0\"U\"", 0, "3\n12\n12\n"},
        {"reg write 0 'a b' --data \"it's # 1\"\nreg read 0 \"a b\"", 0, "it's # 1\n"},
        {"ability ''", 1, IsEmpty(), HasSubstr("stdin:1: ability: \"\" matches several adapters:\n  0")},
        {"\nability 'WL600U\nability 0", 2, IsEmpty(), "zvctl: script: stdin:2: unterminated quote (')\n"},
    });
}

TEST(ZvctlScript, StopsAtTheFirstLineThatFails)
{
    CheckScripts({
        {"ability 0\n\nget 0 0x99 x\nability 0", 2, "3\n", HasSubstr("zvctl: script: stdin:3: LENGTH: ")},
        {"ability 2\nability 0", 1, IsEmpty(),
         "zvctl: script: stdin:1: ability: GetAbility: ZV_SRVC_ERR_ABILITY_QUERY (5)\n"},
        {"shell", 2, IsEmpty(), "zvctl: script: stdin:1: no command \"shell\"; 'help' lists all\n"},
        {"list --trace 4", 2, IsEmpty(), HasSubstr("not expected: 4 --trace")},
        {"wait nothing", 2, IsEmpty(), HasSubstr("EVENT: nothing not in")},
        {"hang 0 perhaps", 2, IsEmpty(), HasSubstr("perhaps not in {on,off}")},
        {"unplug WL9999", 1, IsEmpty(), HasSubstr("stdin:1: unplug: \"WL9999\" matches no adapter")},
        {"unplug Gigabit\nslow 3 1", 1, IsEmpty(), "zvctl: script: stdin:2: slow: this adapter has no driver\n"},
        {"wait resume 0", 1, IsEmpty(), "zvctl: script: stdin:1: wait: no event resume within 0 s\n"},
        {"help wait\nquit\nfoo", 0, AllOf(HasSubstr("EVENT [SECONDS]"), HasSubstr("driver-uninstalled"))},
        {"plug --help\nexit\nfoo", 0, HasSubstr("Insert an adapter")},
    });
    EXPECT_EQ(Session("script /nowhere", "").Err,
              "zvctl: script: /nowhere: cannot be read: No such file or directory\n");
    EXPECT_EQ(Session("script /tmp", "").Code, 2);
}

TEST(ZvctlScript, RunsTheDocumentedScript)
{
    const std::string readme = Process::FileText(SOURCE_FOLDER "/docs/ZVCTL.md");
    const std::size_t begin = readme.find("```zvctl\n") + 9;
    const Process::TempFolder folder;
    const std::string file = folder.Write("story.zv", readme.substr(begin, readme.find("```", begin) - begin));
    const Process::ToolResult result = Session("script " + file, "");
    EXPECT_EQ(result.Code, 0);
    EXPECT_THAT(result.Err, IsEmpty());
    for (const char* line :
         {"status-changed +Zorvane WL600U [^;]*: ready -> absent;", "arrived +Zorvane WL600U [^;]*: absent -> ready;",
          "status-changed +Zorvane WL600U [^;]*: ready -> problem,absent", "suspend ",
          "driver-uninstalled +Zorvane WL600U .*driver-uninstalled"})
        EXPECT_THAT(result.Out, ContainsRegex(std::string("[0-2][0-9]:[0-5][0-9]:[0-6][0-9]\\.[0-9]{3} ") + line));
}

TEST(ZvctlScript, WatchPrintsChangesAsJson)
{
    const Process::ToolResult result = Session("script -", "problem 0 10\nwatch --json --count 1\nsuspend\n"
                                                           "watch --count 1\nevents");
    EXPECT_EQ(result.Code, 0) << result.Err;
    std::istringstream out(result.Out);
    std::array<std::string, 4> lines;
    for (std::string& line : lines)
        std::getline(out, line);
    EXPECT_EQ(json::parse(lines[0]), json::parse(R"({"event": "watching", "adapters": 4})"));
    const json event = json::parse(lines[1]);
    EXPECT_EQ(event.at("event"), "status-changed");
    EXPECT_EQ(event.at("code"), 0x10001);
    EXPECT_THAT(std::string(event.at("time")), ContainsRegex("^20..-..-..T..:..:..\\.[0-9]{3}[+-]"));
    const json& change = event.at("changes").at(0);
    EXPECT_EQ(change.at("netCfgInstanceId"), "{3F0C2A84-6E1B-4D57-9A2E-71B5C80D4F16}");
    EXPECT_EQ(change.at("before"),
              json::parse(R"({"stateFlags": 0, "flags": ["ready"], "driverVersion": "3.4.1.207"})"));
    EXPECT_EQ(change.at("after").at("flags").at(0), "problem");
    EXPECT_EQ(lines[2], "watching 4 adapters");
    EXPECT_THAT(lines[3], HasSubstr(" suspend "));
}

TEST(ZvctlScript, EnablesAdaptersThroughADeviceOfTheSession)
{
    CheckScripts({
        // The first enumeration finds WL900E absent too, so the next event does not report it. Uninstalled
        // adapters are not watched for further seconds when the process exits.
        {"uninstall 2\nwait status-changed\nuninstall WL900E\ndisable 0\nwait status-changed\nuninstall 0\ninfo 0", 1,
         HasSubstr("ready -> problem"), HasSubstr("stdin:7: info: OpenDevice: ZV_SRVC_ERR_DEVICE_NOT_OPEN (14)")},
        {"info 0\nlist --filter ZV_SDIO\ninfo 2\nproblem 0 22\nwait status-changed\nenable 0\nwait arrived\n"
         "uninstall 0\nuninstall WL900E",
         0, HasSubstr("arrived  ")},
        {"enable WL900E", 1, IsEmpty(),
         EndsWith("(14); the library enables an adapter only by a device that was opened while it worked\n")},
        {"rights off\ndisable 0", 1, IsEmpty(), HasSubstr("stdin:2: disable: NicChangeState: ")},
        {"driver-version 0 9.9\nwait arrived\nresume\nwait resume\nuninstall 0\nuninstall WL900E", 0,
         HasSubstr("driver 3.4.1.207 -> 9.9")},
        {"rights off\nrights on\ndisable 0\nuninstall 0\nuninstall WL900E", 0, IsEmpty()},
    });
    const Process::TempFolder folder;
    const std::string refusing = folder.Write("refusing.json", R"({"adapters": [{"netCfgInstanceId": "{1}",
        "hardwareId": "X", "service": "zvwlane", "stateChangeError": 3758096949}]})");
    CheckScripts({{"disable 0", 1, IsEmpty(), HasSubstr("NicChangeState: system error 3758096949 (0xe0000235)\n")}},
                 refusing);
}

TEST(ZvctlScript, ControlsDrivers)
{
    CheckScripts({
        {"hang 0 on\nget 0 0x11 6", 1, IsEmpty(), HasSubstr("get: OpenDevice: ZV_SRVC_ERR_CONTROL_DEVICE (15)")},
        {"hang 0 on\nhang 0 off\nget 0 0x11 6 --raw", 0, "WL600U"},
        {"slow 0 2000\nslow 1 1\nget 1 0x11 6 --raw\nslow 0 0\nget 0 0x11 6 --raw", 0, "WL630UWL600U"},
    });
}

TEST(ZvctlShell, ContinuesAfterAnError)
{
    const Process::ToolResult result = Session("shell", "foo\nability 9\nability 0");
    EXPECT_EQ(result.Code, 0);
    EXPECT_EQ(result.Out, "3\n");
    EXPECT_THAT(result.Err, AllOf(HasSubstr("zvctl: no command \"foo\"; 'help' lists all\n"),
                                  HasSubstr("zvctl: ability: \"9\" matches no adapter")));
}

TEST(ZvctlWatch, StopsWithoutEvents)
{
    for (const char* arguments : {"watch --for 0", "watch --count 0"})
    {
        const Process::ToolResult result = Session(arguments, "");
        EXPECT_EQ(result.Code, 0);
        EXPECT_EQ(result.Out, "watching 4 adapters\n");
    }
}

TEST(ZvctlWatch, ExitsWithSuccessOnASignal)
{
    for (const int number : {SIGINT, SIGTERM})
    {
        std::array<int, 2> ends{};
        ASSERT_EQ(pipe(ends.data()), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        std::array<std::string, 2> words = {"zvctl", "watch"};
        const std::array<char*, 3> arguments = {words[0].data(), words[1].data(), nullptr};
        pid_t child = 0;
        ASSERT_EQ(posix_spawn(&child, ZVCTL_PATH, &actions, nullptr, arguments.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);

        std::array<char, 20> line{};
        EXPECT_EQ(read(ends[0], line.data(), line.size()), 20) << "the first line comes whole";
        int status = 0;
        // Repeated, as by an impatient user. ThreadSanitizer's runtime can lose a signal that arrives
        // during the first blocking call of a thread.
        pid_t ended = 0;
        while (ended == 0)
        {
            kill(child, number);
            kill(child, number);
            usleep(50'000);
            ended = waitpid(child, &status, WNOHANG);
        }
        EXPECT_EQ(ended, child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
        close(ends[0]);
    }
}

TEST(ZvctlShell, CtrlCDropsTheLineAndKeepsTheSession)
{
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0)
    {
        execl(ZVCTL_PATH, "zvctl", "shell", nullptr);
        _exit(126);
    }
    const auto type = [terminal](std::string_view text) {
        ASSERT_EQ(write(terminal, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    };
    std::string shown;
    const auto awaitText = [&](const char* text) {
        char byte = 0;
        while (shown.find(text) == std::string::npos && read(terminal, &byte, 1) == 1)
            shown += byte;
        EXPECT_THAT(shown, HasSubstr(text));
        shown.clear();
    };
    awaitText("zvctl> ");
    type("nonsense");
    awaitText("nonsense");
    type("\x03");
    awaitText("zvctl> ");
    type("quit 1 2\rquit\r");
    awaitText("not expected");
    for (char rest = 0; read(terminal, &rest, 1) == 1;)
        continue;
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    close(terminal);
}

} // namespace
