#include "WindowFixture.h"

#include <latch>
#include <mutex>
#include <tuple>

namespace
{

TEST_F(WindowingTest, ProcedureTakesPartInCreationAndEnd)
{
    constexpr UINT none = WM_NULL;
    // A message and the answer to it; all messages, and whether there is a window then.
    const std::tuple<UINT, LRESULT, std::vector<UINT>, bool> cases[] = {
        {none, 0, {WM_GETMINMAXINFO, WM_NCCREATE, WM_NCCALCSIZE, WM_CREATE}, true},
        {WM_NCCREATE, 0, {WM_GETMINMAXINFO, WM_NCCREATE, WM_NCDESTROY}, false},
        {WM_CREATE, -1, {WM_GETMINMAXINFO, WM_NCCREATE, WM_NCCALCSIZE, WM_CREATE, WM_DESTROY, WM_NCDESTROY}, false},
    };
    for (const auto& [special, answer, expected, made] : cases)
    {
        std::vector<UINT> seen;
        handler = [&, other = special, result = answer](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
            seen.push_back(message);
            if (message == WM_CREATE)
            {
                EXPECT_EQ(&seen, reinterpret_cast<const CREATESTRUCTW*>(lParam)->lpCreateParams);
            }
            EXPECT_EQ(message != WM_DESTROY && message != WM_NCDESTROY, lParam != 0);
            return message == other ? result : DefWindowProcW(window, message, wParam, lParam);
        };
        const HWND window = MakeWindow(ClassName, &seen);
        EXPECT_EQ(expected, seen);
        ASSERT_EQ(made, window != nullptr);
        EXPECT_EQ(made ? 1U : 0U, Platform::CountOpenObjects().Windows);
        if (made)
        {
            std::jthread([window] { EXPECT_FAILS_WITH(ERROR_ACCESS_DENIED, DestroyWindow(window)); }).join();
            seen.clear();
            EXPECT_TRUE(UpdateWindow(window));
            EXPECT_TRUE(DestroyWindow(window));
            EXPECT_EQ((std::vector{WM_DESTROY, WM_NCDESTROY}), seen);
            EXPECT_FAILS_WITH(ERROR_INVALID_WINDOW_HANDLE, DestroyWindow(window));
            EXPECT_FAILS_WITH(ERROR_INVALID_WINDOW_HANDLE, UpdateWindow(window));
        }
    }
}

TEST_F(WindowingTest, RefusesWhatWindowsRefuses)
{
    WNDCLASSEXW record = TestClass();
    record.lpszClassName = u"TESTS";
    EXPECT_FAILS_WITH(ERROR_CLASS_ALREADY_EXISTS, RegisterClassExW(&record));
    record.lpszClassName = u"Other";
    const ATOM number = RegisterClassExW(&record);
    record.lpfnWndProc = nullptr;
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, RegisterClassExW(&record));
    record = {};
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, RegisterClassExW(&record));
    EXPECT_NE(nullptr, LoadIconW(nullptr, IDI_APPLICATION));
    EXPECT_FAILS_WITH(ERROR_RESOURCE_NAME_NOT_FOUND, LoadCursorW(GetModuleHandleW(nullptr), IDC_ARROW));

    Box->FailCall("CreateWindowExW", 1, ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_FAILS_WITH(ERROR_NOT_ENOUGH_MEMORY, MakeWindow());
    EXPECT_FAILS_WITH(ERROR_CANNOT_FIND_WND_CLASS, MakeWindow(u"Nothing"));
    const HWND window = MakeWindow(reinterpret_cast<const WCHAR*>(std::uintptr_t{number}));
    EXPECT_FAILS_WITH(ERROR_INVALID_WINDOW_HANDLE, MakeWindow(ClassName, nullptr, window));

    EXPECT_FAILS_WITH(ERROR_INVALID_DATA, Register(window, 28));
    EXPECT_FAILS_WITH(ERROR_INVALID_DATA, Register(window, 32, 2));
    EXPECT_FAILS_WITH(ERROR_INVALID_WINDOW_HANDLE, Register(nullptr));
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, RegisterDeviceNotificationW(window, nullptr, 0));
    const HDEVNOTIFY registered = Register(window);
    EXPECT_TRUE(UnregisterDeviceNotification(registered));
    EXPECT_FAILS_WITH(ERROR_INVALID_HANDLE, UnregisterDeviceNotification(registered));

    MSG message{};
    EXPECT_FAILS_WITH(ERROR_INVALID_PARAMETER, GetMessageW(&message, window, 0, 0) != -1);
    EXPECT_TRUE(DestroyWindow(window));
    EXPECT_FAILS_WITH(ERROR_INVALID_WINDOW_HANDLE, GetMessageW(&message, window, 0, 0) != -1);
    EXPECT_FAILS_WITH(ERROR_INVALID_WINDOW_HANDLE, PostMessageW(window, WM_USER, 0, 0));
    EXPECT_FAILS_WITH(ERROR_INVALID_WINDOW_HANDLE, SendMessageW(window, WM_USER, 0, 0));
}

TEST_F(WindowingTest, PostedMessagesComeInOrderAndTheQuitLast)
{
    const DWORD self = GetCurrentThreadId();
    std::jthread([self] {
        std::promise<DWORD> thread;
        const std::jthread other([&] { thread.set_value(GetCurrentThreadId()); });
        EXPECT_FAILS_WITH(ERROR_INVALID_THREAD_ID, PostThreadMessageW(thread.get_future().get(), WM_USER, 0, 0));
        EXPECT_TRUE(PostThreadMessageW(self, WM_USER, 0, 0));
    }).join();
    PostQuitMessage(3);
    EXPECT_TRUE(PostMessageW(nullptr, WM_USER + 1, 7, -7));
    MSG message{};
    EXPECT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE));
    for (const auto& [number, wParam, result] :
         {std::tuple{WM_USER, WPARAM{0}, 1}, {WM_USER + 1, 7, 1}, {WM_QUIT, 3, 0}})
    {
        EXPECT_EQ(result, GetMessageW(&message, nullptr, 0, 0));
        EXPECT_EQ(std::pair(number, wParam), std::pair(message.message, message.wParam));
    }
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    int posted = 0;
    while (PostMessageW(nullptr, WM_USER, 0, 0))
        ++posted;
    EXPECT_EQ(10000, posted);
    EXPECT_EQ(DWORD{ERROR_NOT_ENOUGH_QUOTA}, GetLastError());
}

TEST_F(WindowingTest, SentMessagesAreCarriedOutInsideGetMessage)
{
    std::thread::id worker;
    WindowThread there([&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        worker = std::this_thread::get_id();
        if (message == WM_USER + 5)
            DestroyWindow(window); // the sender still gets its answer
        return message < WM_USER ? DefWindowProcW(window, message, wParam, lParam) : LRESULT{message} + lParam;
    });
    EXPECT_TRUE(PostMessageW(there.First, WM_USER + 1, 0, 0));
    EXPECT_EQ(WM_USER - 7, SendMessageW(there.First, WM_USER, 0, -7));
    EXPECT_NE(std::this_thread::get_id(), worker);
    EXPECT_EQ(WM_USER + 5, SendMessageW(there.Second, WM_USER + 5, 0, 0));
    EXPECT_FAILS_WITH(ERROR_INVALID_WINDOW_HANDLE, SendMessageW(there.Second, WM_USER, 0, 0));
    EXPECT_TRUE(PostMessageW(there.First, WM_USER + 2, 0, 0));
    EXPECT_EQ((std::vector{WM_USER + 1, WM_USER + 2}), there.Quit());
}

TEST_F(WindowingTest, EndOfAThreadReleasesWhoSendsToIt)
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
    EXPECT_EQ(0U, Platform::CountOpenObjects().Windows);
}

// Each sends to the other, and each has events for all: who waits must do what the other waits for.
TEST_F(WindowingTest, ThreadsThatWaitForEachOtherGoOn)
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
            EXPECT_EQ(0U, GetLastError());
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
    EXPECT_EQ(0, GetMessageW(&message, nullptr, 0, 0));
    ASSERT_EQ(2U * rounds * 3, events.size());
    const HWND order[] = {here, there.First, there.Second};
    for (std::size_t i = 0; i < events.size(); ++i)
        EXPECT_EQ(std::pair(order[i % 3], events[i - i % 3].second), events[i]) << "events of two do not mix";
}

} // namespace
