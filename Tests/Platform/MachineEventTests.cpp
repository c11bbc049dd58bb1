#include "WindowFixture.h"

#include <cstring>
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
        EXPECT_EQ(result, event(*Box)) << row;
        EXPECT_EQ(messages, std::exchange(Seen, "")) << row;
        EXPECT_EQ(state, State()) << row;
    }
    EXPECT_EQ(Path, u"\\\\?\\PCI#VEN_1#2#{ad498944-762f-11d0-8dcb-00c04fc3358c}");
    EXPECT_EQ(Box->Adapter(Id).DriverVersion, "2");
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
    EXPECT_EQ(Change(DICS_DISABLE, DICS_FLAG_CONFIGSPECIFIC), ERROR_NOT_DISABLEABLE);
    const std::string denied = "R8001+ S8001+ R8002+ ";
    EXPECT_EQ(denied + denied + denied + denied, std::exchange(Seen, ""));
    Box->Unplug(Id);
    EXPECT_EQ(Seen, "R8004- S8004- R7- S7- ") << "nobody is asked";
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
    EXPECT_EQ(Change(DICS_DISABLE, DICS_FLAG_CONFIGSPECIFIC, 19), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Change(DICS_DISABLE, DICS_FLAG_CONFIGSPECIFIC, 20, {20, DIF_PROPERTYCHANGE}), ERROR_INVALID_USER_BUFFER);
    EXPECT_TRUE(SetupDiSetClassInstallParamsW(Set, &Device, nullptr, 0));
    EXPECT_FAILS_WITH(ERROR_NO_CLASSINSTALL_PARAMS, SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, Set, &Device));
}

TEST_F(ClassInstallerTest, DriverKeyOpensWithTheRightsOfTheCaller)
{
    EXPECT_EQ(OpenKey(KEY_ALL_ACCESS), 0U);
    EXPECT_EQ(OpenKey(KEY_READ, 1), DWORD{ERROR_INVALID_PARAMETER});
    Box->SetCallerRights(false);
    EXPECT_EQ(OpenKey(KEY_READ), 0U);
    EXPECT_EQ(OpenKey(KEY_ALL_ACCESS), DWORD{ERROR_ACCESS_DENIED});
    Box->ChangeAdapter(Id, [](auto& node) { node.HasDriverKey = false; });
    EXPECT_EQ(OpenKey(KEY_READ), ERROR_KEY_DOES_NOT_EXIST);
    EXPECT_TRUE(Box->Uninstall(Id));
    EXPECT_EQ(OpenKey(KEY_READ), ERROR_NO_SUCH_DEVINST);
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(Set));
    Set = SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_ALLCLASSES);
    EXPECT_FAILS_WITH(ERROR_NO_MORE_ITEMS, SetupDiEnumDeviceInfo(Set, 0, &Device)) << "it is not among the absent";
}

} // namespace
