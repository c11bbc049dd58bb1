/// One host's use of the library, in which one allocation, thread start or platform call fails.
///
/// "failure_host count CALL..." prints how many points of each kind the use has, one kind a line.
/// "failure_host KIND N" makes the Nth one fail; KIND is "allocation", "thread" or the name of a platform
/// call. Every step must report the failure or succeed, and leave nothing half done; afterwards the same
/// process uses the library once more without a failure. Exit code 7 when all of that held, 8 when in
/// addition no point failed because there is no Nth one; any other code is a fault. "failure_host exit
/// KIND N" uses the library without a failure and makes the Nth point of the exit fail; the code is 7.

#include "CWinPwrEvtHandle.h"
#include "CZVNSrvcMgnt.h"

#include "AsyncRequest.h"
#include "Faults.h"
#include "Hosting.h"
#include "ScriptedDevice.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <span>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

namespace
{

constexpr std::uint32_t HostCode = 0x99000000;
constexpr std::uint32_t WaitRsp = 0x122418;
constexpr unsigned int Threw = 0xFFFFFFFF; ///< Instead of a status.
constexpr int AsPlanned = 7;
constexpr int NoSuchPoint = 8;

void Require(bool good, const char* what)
{
    if (good)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::_Exit(1);
}

/// Does the test's own work without the failure.
template <class Work>
auto WithoutFailure(Work work)
{
    const int left = FailAllocation(0);
    auto result = work();
    FailAllocation(left);
    return result;
}

std::atomic<std::uint32_t> lastEvent{0};

void OnEvent(void* /*context*/, std::uint32_t event, const _ZV_WLAN_NOTIFY_DATA* /*data*/)
{
    lastEvent = event;
}

/// Waits for an event, up to a limit that a healthy library stays far below.
bool Arrives(std::uint32_t event)
{
    for (int i = 0; i < 2000 && lastEvent != event; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return lastEvent == event;
}

/// One use of the library from bring-up to release.
class Use
{
public:
    /// @param faulty a step may fail.
    /// @param events events must come, unless a step may fail.
    Use(Platform::Machine& machine, bool faulty, bool events = true)
        : Machine(machine), IsFaulty(faulty), HasEvents(events)
    {
    }

    void Run()
    {
        const unsigned int status =
            Step("manager", [this] { return CreateZVModule(Manager, ZV_SRVC_DEVICE_MANAGER_UWP); });
        Require((status == ZV_SRVC_SUCCESS) == (Manager != nullptr), "a manager was handed out by a call that threw");
        if (Manager == nullptr)
            return;
        ListAdapters();
        OpenAdapter();
        if (Device != nullptr)
            UseDevice();
        UseEvents();
        if (Device != nullptr)
            Require(Device->Close() == ZV_SRVC_SUCCESS, "close");
    }

private:
    /// Makes one call, which may throw what the headers document and may fail for the injected failure alone.
    template <class Call>
    unsigned int Step(const char* name, Call call)
    {
        unsigned int status = Threw;
        try
        {
            status = call();
        }
        catch (const std::bad_alloc&)
        {
            Require(IsFaulty, "no memory");
        }
        catch (const std::system_error& error)
        {
            Require(IsFaulty, error.what());
        }
        Require(status == ZV_SRVC_SUCCESS || IsFaulty, name);
        return status;
    }

    void ListAdapters()
    {
        const auto filter = WithoutFailure([] { return std::make_unique<FilterRecord>("ZV_USB"); });
        _ZV_SRVC_DEVICE_INFO records[4] = {};
        _ZV_SRVC_DEVICE_LIST_RSP result{0, sizeof records, records};
        if (Step("list", [&] { return Manager->GetZVDeviceList(&filter->Request, &result); }) != ZV_SRVC_SUCCESS)
        {
            Require(result.Length == sizeof records && records[0].NetCfgInstanceId[0] == 0, "a failed list wrote");
            return;
        }
        const std::size_t count = result.Length / sizeof records[0];
        Require(count == 2 || (IsFaulty && count == 1), "wrong number of adapters");
        for (const _ZV_SRVC_DEVICE_INFO& record : std::span(records, count))
        {
            const std::string_view identity = record.NetCfgInstanceId;
            // A value that could not be read leaves its field empty.
            Require(identity == "{one}" || identity == "{two}" || (IsFaulty && identity.empty()), "wrong record");
        }
        Require(count < 2 || std::string_view(records[0].NetCfgInstanceId) != records[1].NetCfgInstanceId, "twice");
    }

    void OpenAdapter()
    {
        _ZV_SRVC_DEVICE_INFO record{};
        std::strcpy(record.NetCfgInstanceId, "{one}");
        const unsigned int status =
            Step("open", [&] { return Manager->OpenDevice(&record, ZV_SRVC_DEVICE_UWP, Device); });
        Require(status != Threw || Device == nullptr, "a device was handed out by a call that threw");
        if (Device == nullptr)
            return;
        const unsigned int info = Device->GetDeviceInfo(&record);
        Require((info == ZV_SRVC_SUCCESS) == (status == ZV_SRVC_SUCCESS || status == ZV_SRVC_ERR_CONTROL_DEVICE),
                "half open");
    }

    void UseDevice()
    {
        std::uint8_t item[4] = {1, 2, 3, 4};
        Step("item", [&] { return Device->SetQueryInfo(0, 1, item, 4); });
        Require(item[0] == 1 && item[3] == 4, "an item that the driver did not write");

        std::uint8_t out[4] = {0xEE, 0xEE, 0xEE, 0xEE};
        _ZV_SRVC_IOCTL_REQ request{};
        request.IoctlCode = HostCode;
        request.OutBuffer = out;
        request.OutLength = sizeof out;
        request.Timeout = 1000;
        const unsigned int status = Step("request", [&] { return Device->SendIOCTLReq(&request); });
        Require(out[0] == 9 || (out[0] == 0xEE && status != ZV_SRVC_SUCCESS), "wrong output");

        const auto async = WithoutFailure([] { return std::make_unique<AsyncRequest>(1, HostCode, 4); });
        if (Step("asynchronous", [&] { return Device->SendIOCTLReq(&async->Record); }) == ZV_SRVC_SUCCESS)
            Require(async->Await() == ZV_SRVC_SUCCESS || IsFaulty, "asynchronous status");
        Require(async->Out[0] == 8 || IsFaulty, "wrong response");

        std::uint32_t type = 1;
        std::uint32_t size = 2;
        std::uint8_t text[2] = {'x', 0};
        for (const std::uint32_t operation : {ZV_REG_OP_WRITE, ZV_REG_OP_READ, ZV_REG_OP_DELETE_VALUE})
            Step("registry", [&] { return Device->AccessRegistry(operation, "", "Value", &type, text, &size); });
        Require(text[0] == 'x', "wrong value");
    }

    void UseEvents()
    {
        _ZV_WLAN_NOTIFY_HDLR client{&OnEvent, nullptr, 0, 0};
        if (Step("register", [&] { return Manager->RegisterNotification(&client); }) != ZV_SRVC_SUCCESS)
            return Require(client.ClientId == 0, "a failed registration wrote");
        // A sweep and a merge without a change, so that no uninstall watcher delays the exit; the power
        // message comes after them.
        WithoutFailure([this] {
            Machine.Broadcast(0x219, 0x8004);
            Machine.Broadcast(0x219, 0x8000);
            Machine.Resume();
            return true;
        });
        Require(!HasEvents || Arrives(ZV_EVT_SYSTEM_RESUME) || IsFaulty, "no event");
        lastEvent = 0;
        Require(Manager->DeRegisterNotification(&client) == ZV_SRVC_SUCCESS, "deregister");
    }

    Platform::Machine& Machine;
    const bool IsFaulty;
    const bool HasEvents;
    std::shared_ptr<CDeviceManagerIntf> Manager;
    std::shared_ptr<CDeviceIntf> Device;
};

/// Lives as long as the process, as its driver does.
Platform::Machine& MakeMachine()
{
    static Platform::ScopedMachine& scope = *new Platform::ScopedMachine;
    Platform::Machine& machine = *scope;
    const auto driver = std::make_shared<Platform::ScriptedDevice>(); // Kept by the machine.
    driver->On(HostCode, Platform::ScriptedDevice::EndWith(0, {9, 9}));
    driver->On(WaitRsp, Platform::ScriptedDevice::EndWith(0, {8}));
    for (const char* identity : {"{one}", "{two}"})
    {
        machine.AttachDevice(std::string("Zorvane_Wifi_Device") + identity, driver);
        machine.AddAdapter(GivenAdapter(identity, "zvwlanu"));
    }
    return machine;
}

void Fail(Platform::Machine& machine, const std::string& kind, int nth)
{
    if (kind == "allocation")
        FailAllocation(nth);
    else if (kind == "thread")
        FailThreadStart(nth);
    else
        machine.FailCall(kind, static_cast<unsigned>(nth), 8);
}

/// Ends the failures, and returns whether the Nth point of that kind was reached.
bool HasFailed(Platform::Machine& machine, const std::string& kind, int nth)
{
    const int allocationsLeft = FailAllocation(0);
    const int threadsLeft = FailThreadStart(0);
    machine.ClearFaults();
    if (kind == "allocation")
        return allocationsLeft <= 0;
    if (kind == "thread")
        return threadsLeft <= 0;
    return machine.Calls(kind) >= static_cast<std::uint64_t>(nth);
}

int PrintCounts(Platform::Machine& machine, std::span<const std::string> calls)
{
    constexpr int many = 1'000'000;
    FailAllocation(many);
    FailThreadStart(many);
    Use(machine, false).Run();
    std::printf("allocation %d\n", many - FailAllocation(0));
    std::printf("thread %d\n", many - FailThreadStart(0));
    for (const std::string& call : calls)
        std::printf("%s %llu\n", call.c_str(), static_cast<unsigned long long>(machine.Calls(call)));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    Platform::Machine& machine = MakeMachine();
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() < 2)
        return 2;
    if (arguments[0] == "count")
        return PrintCounts(machine, std::span(arguments).subspan(1));
    const std::string& kind = arguments[arguments.size() - 2];
    const int nth = std::stoi(arguments.back());
    if (arguments[0] == "exit")
    {
        Use(machine, false).Run();
        Fail(machine, kind, nth);
        return AsPlanned;
    }
    Fail(machine, kind, nth);
    Use(machine, true).Run();
    const bool failed = HasFailed(machine, kind, nth);
    // The library works whatever the failure was. Only a service that is up without its window has no
    // events; one that is absent is brought up by the next call.
    const bool isUp = g_pSrvcMgnt.Get() != nullptr;
    CWinPwrEvtHandle::AwaitWindow();
    const bool hasWindow = Platform::CountOpenObjects().Windows != 0;
    Use(machine, false, hasWindow || !isUp).Run();
    return failed ? AsPlanned : NoSuchPoint;
}
