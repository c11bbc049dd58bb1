// Signals that end a command of zvctl, or a line.
#include <array>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using testing::HasSubstr;

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
        EXPECT_EQ(read(ends[0], line.data(), line.size()), 20) << "the first line is printed at once";
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
        // The history of the user must not contain the lines of the test.
        setenv("XDG_STATE_HOME", "/dev/null", 1);
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
    awaitText("unexpected argument");
    for (char rest = 0; read(terminal, &rest, 1) == 1;)
        continue;
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    close(terminal);
}

} // namespace
