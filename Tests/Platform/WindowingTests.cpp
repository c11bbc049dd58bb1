#include "WindowFixture.h"

#include <latch>
#include <mutex>

namespace
{

TEST_F(WindowingTest, ARefusedWindowIsDestroyed)
{
    std::vector<UINT> seen;
    handler = [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        seen.push_back(message);
        return message == WM_CREATE ? -1 : DefWindowProcW(window, message, wParam, lParam);
    };
    EXPECT_EQ(MakeWindow(), nullptr);
    EXPECT_EQ(seen, (std::vector{WM_GETMINMAXINFO, WM_NCCREATE, WM_NCCALCSIZE, WM_CREATE, WM_DESTROY, WM_NCDESTROY}));
}

TEST_F(WindowingTest, EndOfAThreadReleasesItsSenders)
{
    for (int round = 0; round < 200; ++round)
    {
        std::latch sending{2};
        std::promise<HWND> made;
        const std::jthread owner([&] {
            made.set_value(MakeWindow());
            sending.arrive_and_wait();
        });
        const HWND window = made.get_future().get();
        sending.arrive_and_wait();
        EXPECT_FAILS_WITH(ERROR_INVALID_WINDOW_HANDLE, SendMessageW(window, WM_USER, 0, 0));
    }
    EXPECT_EQ(Platform::CountOpenObjects().Windows, 0U);
}

// Each sends to the other, and each has events for all: who waits must do what the other waits for.
TEST_F(WindowingTest, ThreadsThatSendToEachOtherDoNotDeadlock)
{
    constexpr int rounds = 100;
    std::mutex lock;
    std::vector<std::pair<HWND, WPARAM>> events; // guarded by lock
    const auto answer = [&](HWND window, UINT message, WPARAM wParam, LPARAM) -> LRESULT {
        const std::lock_guard guard(lock);
        if (message == WM_USER)
            events.emplace_back(window, wParam);
        return message < WM_USER ? 1 : 0;
    };
    const auto sendAll = [&](HWND other, WPARAM mine) {
        for (int round = 0; round < rounds; ++round)
        {
            SetLastError(0);
            SendMessageW(other, WM_USER + 1, 0, 0);
            EXPECT_EQ(GetLastError(), 0U);
            Box->Broadcast(WM_USER, mine);
        }
    };
    handler = answer;
    const HWND here = MakeWindow();
    const DWORD self = GetCurrentThreadId();
    WindowThread there([&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == WM_USER + 2)
        {
            sendAll(here, 1);
            PostThreadMessageW(self, WM_QUIT, 0, 0);
        }
        return answer(window, message, wParam, lParam);
    });
    PostMessageW(there.First, WM_USER + 2, 0, 0);
    sendAll(there.First, 2);
    MSG message{};
    EXPECT_EQ(GetMessageW(&message, nullptr, 0, 0), 0);
    ASSERT_EQ(2U * rounds * 3, events.size());
    const HWND order[] = {here, there.First, there.Second};
    for (std::size_t i = 0; i < events.size(); ++i)
        EXPECT_EQ(events[i], std::pair(order[i % 3], events[i - i % 3].second)) << "events of two do not mix";
}

} // namespace
