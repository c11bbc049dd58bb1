#include "Expect.h"

#include <cstring>
#include <future>
#include <latch>
#include <mutex>
#include <thread>
#include <tuple>

namespace
{

using Platform::Machine;
using Handler = std::function<LRESULT(HWND, UINT, WPARAM, LPARAM)>;

constexpr const WCHAR* ClassName = u"Tests";
constexpr GUID LanClass = {0xAD498944, 0x762F, 0x11D0, {0x8D, 0xCB, 0x00, 0xC0, 0x4F, 0xC3, 0x35, 0x8C}};

thread_local Handler handler = DefWindowProcW; // of this thread's windows

LRESULT Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    return handler(window, message, wParam, lParam);
}

WNDCLASSEXW TestClass()
{
    WNDCLASSEXW record{};
    record.cbSize = sizeof(record);
    record.lpfnWndProc = Procedure;
    record.lpszClassName = ClassName;
    return record;
}

HWND MakeWindow(const WCHAR* className = ClassName, void* parameter = nullptr, HWND parent = nullptr)
{
    return CreateWindowExW(0, className, u"", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, 0, CW_USEDEFAULT, 0, parent, nullptr,
                           GetModuleHandleW(nullptr), parameter);
}

HDEVNOTIFY Register(HWND window, DWORD size = 32, DWORD type = DBT_DEVTYP_DEVICEINTERFACE)
{
    DEV_BROADCAST_DEVICEINTERFACE_W filter{size, type, 0, LanClass, {}};
    return RegisterDeviceNotificationW(window, &filter, DEVICE_NOTIFY_WINDOW_HANDLE);
}

/// A thread with two windows that carries out messages until it is told to quit.
class WindowThread
{
public:
    explicit WindowThread(const Handler& work)
    {
        std::promise<void> ready;
        Thread = std::jthread([&, work] {
            handler = work;
            First = MakeWindow();
            Second = MakeWindow();
            ready.set_value();
            for (MSG message; GetMessageW(&message, nullptr, 0, 0) > 0; DispatchMessageW(&message))
                Returned.push_back(message.message);
        });
        ready.get_future().wait();
    }
    ~WindowThread() { Quit(); }

    /// The posted messages that its loop saw.
    std::vector<UINT> Quit()
    {
        if (Thread.joinable())
        {
            PostMessageW(First, WM_QUIT, 0, 0);
            Thread.join();
        }
        return Returned;
    }

    HWND First{};
    HWND Second{};

private:
    std::vector<UINT> Returned;
    std::jthread Thread;
};

class WindowingTest : public OnMachine
{
protected:
    WindowingTest()
    {
        const WNDCLASSEXW record = TestClass();
        EXPECT_NE(0, RegisterClassExW(&record));
    }
};

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

/// Tells the messages of two registered windows (R, S) and another (U), each with the state of the adapter at that
/// time: running (+), not running (-), or without a driver key (.).
class EventsTest : public WindowingTest
{
protected:
    LRESULT Note(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
    {
        if (message != WM_DEVICECHANGE && message != WM_POWERBROADCAST && message != WM_USER)
            return DefWindowProcW(window, message, wParam, lParam);
        char text[32];
        const char name = window == R ? 'R' : window == S ? 'S' : 'U';
        std::snprintf(text, sizeof(text), "%c%llx%c ", name, static_cast<unsigned long long>(wParam), State());
        Seen += text;
        if (lParam != 0)
        {
            const auto* record = reinterpret_cast<const DEV_BROADCAST_DEVICEINTERFACE_W*>(lParam);
            Path.resize((record->dbcc_size - 30) / 2);
            std::memcpy(Path.data(), reinterpret_cast<const char*>(record) + 28, Path.size() * 2);
            EXPECT_EQ(LanClass, record->dbcc_classguid);
        }
        return window == S && wParam == DBT_DEVICEQUERYREMOVE && Deny ? BROADCAST_QUERY_DENY : 1;
    }

    char State() const
    {
        const auto key = Box->Adapter(Id).DriverKey;
        ULONG status = 0;
        ULONG problem = 0;
        const bool there = CM_Get_DevNode_Status(&status, &problem, Id, 0) == CR_SUCCESS;
        return !key ? '.' : there && problem == 0 ? '+' : '-';
    }

    Handler Noting()
    {
        return [this](auto... arguments) { return Note(arguments...); };
    }

    const Platform::AdapterId Id = Box->AddAdapter({.DeviceInstanceId = "PCI\\VEN_1\\2"});
    HWND R{};
    HWND S{};
    std::string Seen;
    std::u16string Path;
    bool Deny = false;
};

TEST_F(EventsTest, ChangeTheAdapterThenTellTheWindows)
{
    WindowThread windows(Noting());
    R = windows.First;
    Register(R);
    using Event = std::function<bool(Machine&)>;
    const auto always = [this](void (Machine::*event)(Platform::AdapterId)) -> Event {
        return [this, event](Machine& machine) { return (machine.*event)(Id), true; };
    };
    const auto asked = [this](bool (Machine::*event)(Platform::AdapterId)) -> Event {
        return [this, event](Machine& machine) { return (machine.*event)(Id); };
    };
    const auto problem = [this](DWORD number) -> Event {
        return [this, number](Machine& machine) { return machine.SetProblem(Id, number), true; };
    };
    const Event update = [this](Machine& machine) { return machine.UpdateDriver(Id, "2"); };
    // In this order on one adapter: the event, its result, the messages, and the state at the end.
    const std::tuple<Event, bool, std::string, char> cases[] = {
        {always(&Machine::Plug), true, "", '+'},
        {asked(&Machine::Enable), true, "", '+'},
        {asked(&Machine::Disable), true, "R8001+ R8004- R7- U7- ", '-'},
        {asked(&Machine::Disable), true, "", '-'},
        {update, true, "R7- U7- ", '-'},
        {always(&Machine::Unplug), true, "R7- U7- ", '-'},
        {asked(&Machine::Enable), false, "", '-'},
        {update, false, "", '-'},
        {always(&Machine::Plug), true, "R7- U7- ", '-'},
        {asked(&Machine::Enable), true, "R8000+ R7+ U7+ ", '+'},
        {problem(10), true, "R8004- R7- U7- ", '-'},
        {asked(&Machine::Enable), true, "", '-'},
        {problem(0), true, "R8000+ R7+ U7+ ", '+'},
        {update, true, "R8001+ R8004- R7- U7- R8000+ R7+ U7+ ", '+'},
        {always(&Machine::Unplug), true, "R8004- R7- U7- ", '-'},
        {always(&Machine::Unplug), true, "", '-'},
        {problem(1), true, "", '-'},
        {problem(0), true, "", '-'},
        {always(&Machine::Plug), true, "R8000+ R7+ U7+ ", '+'},
        {asked(&Machine::Uninstall), true, "R8001+ R8004- R7- U7- ", '.'},
        {always(&Machine::Plug), true, "R8000+ R7+ U7+ ", '+'},
        {[](Machine& machine) { return machine.Suspend(), true; }, true, "R4+ U4+ ", '+'},
        {[](Machine& machine) { return machine.Resume(), true; }, true, "R12+ U12+ R7+ U7+ ", '+'},
    };
    for (const auto& [event, result, messages, state] : cases)
    {
        const auto row = &event - &std::get<0>(cases[0]);
        EXPECT_EQ(result, event(*Box)) << row;
        EXPECT_EQ(messages, std::exchange(Seen, "")) << row;
        EXPECT_EQ(state, State()) << row;
    }
    EXPECT_EQ(u"\\\\?\\PCI#VEN_1#2#{ad498944-762f-11d0-8dcb-00c04fc3358c}", Path);
    EXPECT_EQ("2", Box->Adapter(Id).DriverVersion);
    EXPECT_THROW(Box->Unplug(Id + 1), std::out_of_range);
}

class ClassInstallerTest : public EventsTest
{
protected:
    ClassInstallerTest()
    {
        Set = SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_ALLCLASSES);
        EXPECT_TRUE(SetupDiEnumDeviceInfo(Set, 0, &Device));
    }
    void TearDown() override
    {
        EXPECT_TRUE(SetupDiDestroyDeviceInfoList(Set));
        EventsTest::TearDown();
    }

    /// The error of a property change, 0 for none.
    DWORD Change(DWORD change, DWORD scope, DWORD size = sizeof(SP_PROPCHANGE_PARAMS),
                 SP_CLASSINSTALL_HEADER header = {sizeof(SP_CLASSINSTALL_HEADER), DIF_PROPERTYCHANGE})
    {
        SP_PROPCHANGE_PARAMS parameters{header, change, scope, 0};
        const bool done = SetupDiSetClassInstallParamsW(Set, &Device, &parameters.ClassInstallHeader, size) &&
                          SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, Set, &Device);
        return done ? 0 : GetLastError();
    }

    /// The error of opening the driver key, 0 for none.
    DWORD OpenKey(REGSAM access, DWORD type = DIREG_DRV)
    {
        const HKEY key = SetupDiOpenDevRegKey(Set, &Device, DICS_FLAG_GLOBAL, 0, type, access);
        return key == INVALID_HANDLE_VALUE ? GetLastError() : static_cast<DWORD>(RegCloseKey(key));
    }

    HDEVINFO Set{};
    SP_DEVINFO_DATA Device{sizeof(SP_DEVINFO_DATA), {}, 0, 0};
};

TEST_F(ClassInstallerTest, DeniedRemovalLeavesTheAdapterAlone)
{
    handler = Noting();
    R = MakeWindow();
    S = MakeWindow();
    Register(R);
    Register(S);
    Deny = true;
    EXPECT_FALSE(Box->Disable(Id));
    EXPECT_FALSE(Box->UpdateDriver(Id, "2"));
    EXPECT_FALSE(Box->Uninstall(Id));
    EXPECT_EQ(ERROR_NOT_DISABLEABLE, Change(DICS_DISABLE, DICS_FLAG_CONFIGSPECIFIC));
    const std::string denied = "R8001+ S8001+ R8002+ ";
    EXPECT_EQ(denied + denied + denied + denied, std::exchange(Seen, ""));
    Box->Unplug(Id);
    EXPECT_EQ("R8004- S8004- R7- S7- ", Seen) << "nobody is asked";
}

TEST_F(ClassInstallerTest, ChangesTheNodeBeforeItReturns)
{
    EXPECT_FAILS_WITH(ERROR_NO_CLASSINSTALL_PARAMS, SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, Set, &Device));
    using Edit = void (*)(Platform::AdapterDescription&);
    constexpr Edit same = [](auto&) {};
    // In this order: what the adapter becomes, rights, change, scope; the error, and the state at the end.
    const std::tuple<Edit, bool, DWORD, DWORD, DWORD, char> cases[] = {
        {same, true, DICS_DISABLE, DICS_FLAG_GLOBAL, ERROR_INVALID_PARAMETER, '+'},
        {same, false, DICS_DISABLE, DICS_FLAG_CONFIGSPECIFIC, ERROR_ACCESS_DENIED, '+'},
        {same, true, DICS_DISABLE, DICS_FLAG_CONFIGSPECIFIC, 0, '-'},
        {same, true, DICS_DISABLE, DICS_FLAG_CONFIGSPECIFIC, 0, '-'},
        {same, true, DICS_ENABLE, DICS_FLAG_GLOBAL, 0, '-'},
        {same, true, DICS_ENABLE, DICS_FLAG_CONFIGSPECIFIC, 0, '+'},
        {[](auto& node) { node.StateChangeError = 0x234; }, true, DICS_DISABLE, DICS_FLAG_CONFIGSPECIFIC, 0x234, '+'},
        {[](auto& node) { node.Present = false; }, true, DICS_ENABLE, DICS_FLAG_GLOBAL, ERROR_NO_SUCH_DEVINST, '-'},
    };
    for (const auto& [edit, rights, change, scope, error, state] : cases)
    {
        Box->ChangeAdapter(Id, edit);
        Box->SetCallerRights(rights);
        EXPECT_EQ(error, Change(change, scope));
        EXPECT_EQ(state, State());
    }
    EXPECT_EQ(ERROR_INVALID_PARAMETER, Change(DICS_DISABLE, DICS_FLAG_CONFIGSPECIFIC, 19));
    EXPECT_EQ(ERROR_INVALID_USER_BUFFER, Change(DICS_DISABLE, DICS_FLAG_CONFIGSPECIFIC, 20, {20, DIF_PROPERTYCHANGE}));
    EXPECT_TRUE(SetupDiSetClassInstallParamsW(Set, &Device, nullptr, 0));
    EXPECT_FAILS_WITH(ERROR_NO_CLASSINSTALL_PARAMS, SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, Set, &Device));
}

TEST_F(ClassInstallerTest, DriverKeyOpensAsFarAsTheCallerMay)
{
    EXPECT_EQ(0U, OpenKey(KEY_ALL_ACCESS));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, OpenKey(KEY_READ, 1));
    Box->SetCallerRights(false);
    EXPECT_EQ(0U, OpenKey(KEY_READ));
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, OpenKey(KEY_ALL_ACCESS));
    Box->ChangeAdapter(Id, [](auto& node) { node.HasDriverKey = false; });
    EXPECT_EQ(ERROR_KEY_DOES_NOT_EXIST, OpenKey(KEY_READ));
    EXPECT_TRUE(Box->Uninstall(Id));
    EXPECT_EQ(ERROR_NO_SUCH_DEVINST, OpenKey(KEY_READ));
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(Set));
    Set = SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_ALLCLASSES);
    EXPECT_FAILS_WITH(ERROR_NO_MORE_ITEMS, SetupDiEnumDeviceInfo(Set, 0, &Device)) << "it is not among the absent";
}

} // namespace
