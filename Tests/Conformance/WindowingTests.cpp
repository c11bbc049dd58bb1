#include "Checks.h"
#include "TestWindows.h"

#include <tuple>

namespace
{

class WindowingTest : public testing::Test
{
protected:
    WindowingTest()
    {
        const WNDCLASSEXW record = TestClass();
        EXPECT_NE(RegisterClassExW(&record), 0);
    }
};

TEST_F(WindowingTest, ProcedureTakesPartInCreation)
{
    // A message and the answer to it; all messages, and whether there is a window then.
    const std::tuple<UINT, LRESULT, std::vector<UINT>, bool> cases[] = {
        {WM_NULL, 0, {WM_GETMINMAXINFO, WM_NCCREATE, WM_NCCALCSIZE, WM_CREATE}, true},
        {WM_NCCREATE, 0, {WM_GETMINMAXINFO, WM_NCCREATE, WM_NCDESTROY}, false},
        {WM_CREATE, -1, {WM_GETMINMAXINFO, WM_NCCREATE, WM_NCCALCSIZE, WM_CREATE, WM_NCDESTROY}, false},
    };
    for (const auto& [special, answer, expected, made] : cases)
    {
        std::vector<UINT> seen;
        handler = [&, other = special, result = answer](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
            seen.push_back(message);
            EXPECT_TRUE(message != WM_CREATE ||
                        reinterpret_cast<const CREATESTRUCTW*>(lParam)->lpCreateParams == &seen);
            return message == other ? result : DefWindowProcW(window, message, wParam, lParam);
        };
        const HWND window = MakeWindow(&seen);
        std::erase(seen, made ? WM_NULL
                              : UINT{WM_DESTROY}); // Windows and Wine differ in whether a refused window receives it
        EXPECT_EQ(seen, expected);
        ASSERT_EQ(made, window != nullptr);
        if (made)
        {
            EXPECT_FALSE(ShowWindow(window, SW_HIDE)) << "it was hidden";
            EXPECT_TRUE(UpdateWindow(window));
            EXPECT_TRUE(DestroyWindow(window));
        }
    }
}

TEST_F(WindowingTest, PostedMessagesArriveInOrderAndTheQuitLast)
{
    const DWORD self = GetCurrentThreadId();
    MSG message{};
    EXPECT_FALSE(PeekMessageW(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE)) << "makes the thread's queue";
    std::jthread([self] {
        std::promise<DWORD> thread;
        std::promise<void> checked; // The thread runs, but has no queue.
        const std::jthread other([&] { thread.set_value(GetCurrentThreadId()), checked.get_future().wait(); });
        EXPECT_FAILS_WITH(ERROR_INVALID_THREAD_ID, PostThreadMessageW(thread.get_future().get(), WM_USER, 0, 0));
        checked.set_value();
        EXPECT_TRUE(PostThreadMessageW(self, WM_USER, 0, 0));
    }).join();
    EXPECT_TRUE(PostThreadMessageW(self, WM_QUIT, 3, 0));
    const std::tuple<UINT, WPARAM, BOOL> order[] = {{WM_USER, 0, 1}, {WM_QUIT, 3, 0}};
    for (const auto& [number, wParam, result] : order)
    {
        EXPECT_EQ(result, GetMessageW(&message, nullptr, 0, 0));
        EXPECT_EQ(std::pair(message.message, message.wParam), std::pair(number, wParam));
    }
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
}

TEST_F(WindowingTest, SentMessagesAreDispatchedInsideGetMessage)
{
    std::thread::id worker;
    WindowThread there([&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == WM_USER) // A posted message may be handled while the test reads the result.
            worker = std::this_thread::get_id();
        return message < WM_USER ? DefWindowProcW(window, message, wParam, lParam) : LRESULT{message} + lParam;
    });
    EXPECT_TRUE(PostMessageW(there.First, WM_USER + 1, 0, 0));
    EXPECT_EQ(SendMessageW(there.First, WM_USER, 0, -7), LRESULT{WM_USER - 7});
    EXPECT_NE(worker, std::this_thread::get_id());
    EXPECT_FAILS_WITH(ERROR_INVALID_WINDOW_HANDLE, SendMessageW(nullptr, WM_USER, 0, 0));
    EXPECT_TRUE(PostMessageW(there.First, WM_USER + 2, 0, 0));
    EXPECT_EQ(there.Quit(), (std::vector<UINT>{WM_USER + 1, WM_USER + 2}));
}

} // namespace
