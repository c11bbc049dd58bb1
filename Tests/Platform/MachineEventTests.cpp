#include "Expect.h"

#include <cstring>
#include <latch>
#include <tuple>

namespace
{

using Platform::Machine;

/// Records the messages of two registered windows (R, S) and another (U), each with the state of the adapter at that
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
            EXPECT_EQ(record->dbcc_classguid, LanClass);
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

TEST_F(EventsTest, ChangesTheAdapterBeforeItNotifiesTheWindows)
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
        EXPECT_EQ(event(*Box), result) << row;
        EXPECT_EQ(std::exchange(Seen, ""), messages) << row;
        EXPECT_EQ(State(), state) << row;
    }
    EXPECT_EQ(Path, u"\\\\?\\PCI#VEN_1#2#{ad498944-762f-11d0-8dcb-00c04fc3358c}");
    EXPECT_EQ(Box->Adapter(Id).DriverVersion, "2");
    EXPECT_THROW(Box->Unplug(Id + 1), std::out_of_range);
}

TEST_F(EventsTest, DeniedRemovalLeavesTheAdapterAlone)
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
    const std::string denied = "R8001+ S8001+ R8002+ ";
    EXPECT_EQ(std::exchange(Seen, ""), denied + denied + denied);
    Box->Unplug(Id);
    EXPECT_EQ(Seen, "R8004- S8004- R7- S7- ") << "nobody is asked";
}

TEST_F(EventsTest, EndOfAThreadReleasesItsSenders)
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

} // namespace
