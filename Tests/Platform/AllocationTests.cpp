// Exhausted memory: a published call reports it as Windows does, and a closing call closes all the same.
#include "../Support/Faults.h"
#include "ScriptedDevice.h"
#include "WindowFixture.h"

#include <functional>
#include <new>

namespace
{

constexpr const WCHAR* EventName = u"AllocationTestEvent";

/// A call under test. Both run while an allocation of this thread fails.
struct Trial
{
    const char* Name;
    std::function<DWORD()> Act;  ///< 0 for success, otherwise the error.
    std::function<bool()> Close; ///< Closes what Act made; has to succeed.
};

/// Whether the failure that FailAllocation(nth) announced has happened; takes it back otherwise.
bool HasFailed(int nth)
{
    for (; nth > 0; --nth)
    {
        try
        {
            ::operator delete(::operator new(1));
        }
        catch (const std::bad_alloc&)
        {
            return false;
        }
    }
    return true;
}

DWORD ErrorUnless(bool good)
{
    return good ? 0 : GetLastError();
}

DWORD Number(LSTATUS status)
{
    return static_cast<DWORD>(status);
}

ULONG IgnoreTrace(WMIDPREQUESTCODE /*code*/, void* /*context*/, ULONG* /*size*/, void* /*buffer*/)
{
    return 0;
}

class AllocationTest : public WindowingTest
{
protected:
    AllocationTest()
    {
        Driver->On(0x122414, Driver->Hold());
        Box->AttachDevice("Zv", Driver);
    }

    HANDLE OpenFile() const
    {
        return CreateFileA(R"(\\.\Zv)", GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    }
    /// Fails each allocation of the trial in turn. @return how many there were.
    int Sweep(const Trial& trial);

    std::shared_ptr<Platform::ScriptedDevice> Driver = std::make_shared<Platform::ScriptedDevice>();
};

int AllocationTest::Sweep(const Trial& trial)
{
    SCOPED_TRACE(trial.Name);
    for (int nth = 1;; ++nth)
    {
        Platform::ScopedMachine machine; // counts the function for the first time
        machine->AttachDevice("Zv", Driver);
        const std::size_t before = Platform::CountOpenObjects().Total() + Platform::CountOpenObjects().Windows;
        FailAllocation(nth);
        const DWORD error = trial.Act();
        const bool failed = HasFailed(nth);
        if (error == 0)
        {
            FailAllocation(1);
            EXPECT_TRUE(trial.Close());
            FailAllocation(0);
        }
        EXPECT_TRUE(error == 0 || (failed && error == ERROR_NOT_ENOUGH_MEMORY)) << error << " at " << nth;
        EXPECT_EQ(before, Platform::CountOpenObjects().Total() + Platform::CountOpenObjects().Windows) << nth;
        EXPECT_FALSE(machine->KeyExists("SOFTWARE\\New")) << "a key half made";
        if (!failed)
            return nth - 1;
    }
}

TEST_F(AllocationTest, OpeningCallsFailWholeAndClosingCallsSucceed)
{
    HANDLE handle = nullptr;
    HKEY key = nullptr;
    HWND window = nullptr;
    HDEVNOTIFY notification = nullptr;
    HMODULE module = nullptr;
    TRACEHANDLE trace = 0;
    const HWND known = MakeWindow();
    const Trial trials[] = {
        {"CreateFileA", [&] { return ErrorUnless((handle = OpenFile()) != INVALID_HANDLE_VALUE); },
         [&] { return CloseHandle(handle) != FALSE; }},
        {"CreateEventW", [&] { return ErrorUnless((handle = CreateEventW(nullptr, FALSE, FALSE, EventName))); },
         [&] { return CloseHandle(handle) != FALSE; }},
        {"RegOpenKeyA", [&] { return Number(RegOpenKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE", &key)); },
         [&] { return RegCloseKey(key) == 0; }},
        {"RegCreateKeyA",
         [&] { return Number(RegCreateKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\New\\Long name of a key", &key)); },
         [&] {
             FailAllocation(0);
             RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\New\\Long name of a key");
             RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\New");
             FailAllocation(1);
             return RegCloseKey(key) == 0;
         }},
        {"SetupDiGetClassDevsW",
         [&] {
             return ErrorUnless((handle = SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_ALLCLASSES)) !=
                                INVALID_HANDLE_VALUE);
         },
         [&] { return SetupDiDestroyDeviceInfoList(handle) != FALSE; }},
        {"CreateWindowExW", [&] { return ErrorUnless((window = MakeWindow()) != nullptr); },
         [&] { return DestroyWindow(window) != FALSE; }},
        {"RegisterDeviceNotificationW", [&] { return ErrorUnless((notification = Register(known)) != nullptr); },
         [&] { return UnregisterDeviceNotification(notification) != FALSE; }},
        {"LoadLibraryA", [&] { return ErrorUnless((module = LoadLibraryA("libm.so.6")) != nullptr); },
         [&] { return FreeLibrary(module) != FALSE; }},
        {"RegisterTraceGuidsW",
         [&] {
             constexpr GUID control = {1, 2, 3, {4}};
             TRACE_GUID_REGISTRATION guids = {&control, nullptr};
             return DWORD{RegisterTraceGuidsW(IgnoreTrace, nullptr, &control, 1, &guids, nullptr, nullptr, &trace)};
         },
         [&] { return UnregisterTraceGuids(trace) == 0; }},
    };
    for (const Trial& trial : trials)
        EXPECT_GT(Sweep(trial), 1) << trial.Name;
    EXPECT_TRUE(DestroyWindow(known));
}

TEST_F(AllocationTest, RequestEndsOrWasNeverBegun)
{
    const Opened file = OpenFile();
    OVERLAPPED record{};
    const auto send = [&] {
        char input = 'i';
        DWORD returned = 0;
        const BOOL done = DeviceIoControl(file, 0x122414, &input, 1, nullptr, 0, &returned, &record);
        return done == FALSE && GetLastError() == ERROR_IO_PENDING ? 0 : GetLastError();
    };
    EXPECT_GT(Sweep({"DeviceIoControl", send, [&] { return CancelIo(file) != FALSE; }}), 3);
    const Opened event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    EXPECT_FAILS_WITH(ERROR_NOT_FOUND, CancelIoEx(file, nullptr)); // counted before memory runs out
    EXPECT_EQ(0U, send());
    Driver->HoldCancelled();
    FailAllocation(1); // of the driver's cancel routine
    EXPECT_TRUE(CancelIoEx(file, nullptr));
    EXPECT_TRUE(HasFailed(1));
    EXPECT_EQ(0U, Platform::CountOpenObjects().RequestsInFlight);
    FailAllocation(1);
    EXPECT_EQ(DWORD{WAIT_TIMEOUT}, WaitForSingleObject(event, 1)) << "a wait needs no memory";
    FailAllocation(0);
}

} // namespace
